#include "Check/Check.h"
#include "Check/OtherSettings.h"

#include <array>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Check {
namespace {

/// Data that no effect can work on: less memory than stated.
template <class Subject>
auto MakeBroken(Subject const& subject) {
    auto datum = subject.MakeDatum(0);
    if constexpr (std::is_same_v<typename Subject::Medium, Video>)
        datum->GetAVFrame()->data[0] = nullptr;
    else
        datum->GetAVFrame()->format = 1000;
    return datum;
}

constexpr std::array s_stateChecks{
    ForEffects("reset", Group::State, "Reset discards the stream and keeps the settings.",
               "After a jump in the timeline the host shows frames from before it.", 1,
               [](auto& subject) {
                   auto const due = subject.GetDue(5);
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (int fed = 0; fed < 4; ++fed) {
                       for (auto const& datum : subject.MakeData(fed))
                           stream.Feed(datum);
                       effect->Reset();
                       Expect(stream.Take() == nullptr, "after Reset it outputs old results");
                       ExpectSame(Run(*effect, subject.MakeData(5)), due,
                                  fmt::format("after {} inputs and Reset", fed));
                   }
                   Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()),
                          "Reset changes the settings");
               }),
    ForEffects(
        "after-failure", Group::State, "After an exception the effect works on, with the settings it had.",
        "One broken frame in a video spoils all that follow.", 2,
        [](auto& subject) {
            auto const effect = subject.Make();
            auto const broken = MakeBroken(subject);
            (void)Refuses([&] { Run(*effect, std::vector{broken}); });
            effect->Reset();
            Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()), "the settings have changed");
            ExpectSame(Run(*effect, subject.MakeData(5)), subject.GetDue(5));
        }),
    ForEffects("after-failure-without-reset", Group::State,
               "After an exception the effect works on without Reset: only the input that failed is lost.",
               "A host that goes on after a damaged frame loses the rest.", 4,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   (void)Refuses([&] { Run(*effect, std::vector{MakeBroken(subject)}); });
                   Expect(Run(*effect, subject.MakeData(5)).size() >= 4, "it loses data after the failure");
               }),
    ForEffects("settings-in-mid-stream", Group::State,
               "New settings in the middle of a stream take effect from then on.",
               "The host crashes when the user moves a slider while a video plays.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   auto const data = subject.MakeData(3 + subject.GetLevel());
                   for (auto const& datum : data) {
                       (void)Refuses([&] { stream.Feed(datum); });
                       (void)Refuses([&] { TakeAll(stream); });
                       auto const settings = subject.DrawSettings();
                       if (!Refuses([&] { effect->SetSettings(*settings); }))
                           Expect(effect->GetSettingsBase().IsEqualTo(*settings),
                                  "the effect has other settings than it was given");
                   }
                   effect->Reset();
                   effect->SetSettings(*subject.GetSettings());
                   ExpectSame(Run(*effect, subject.MakeData(4)), subject.GetDue(4),
                              "after its first settings were restored");
               }),
    ForEffects("refused-settings", Group::State,
               "SetSettings that throws leaves the settings and the stream as they were.",
               "A typing error in one field changes the video that plays.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   StreamDriver driver(*effect, {.fed = [&] {
                       Require(Refuses([&] { effect->SetSettings(OtherSettings()); }),
                               "the effect refuses no settings");
                   }});
                   ExpectSame(driver.Run(subject.MakeData(6)), subject.GetDue(6));
                   Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()),
                          "the settings have changed");
               }),
    ForEffects("two-apart", Group::State, "Two instances that work in turn do not disturb each other.",
               "Two tracks of a video show each other's frames.", 1,
               [](auto& subject) {
                   std::array const effects{subject.Make(), subject.Make()};
                   std::array drivers{StreamDriver(*effects[0]), StreamDriver(*effects[1])};
                   for (auto const& datum : subject.MakeData(5))
                       for (auto& driver : drivers)
                           driver.Feed(datum);
                   auto const due = subject.GetDue(5);
                   for (auto& driver : drivers)
                       ExpectSame(driver.End(), due);
               }),
    ForEffects("dropped-in-mid-stream", Group::State,
               "The host may drop an effect at any time: new, fed, ended or failed.",
               "The host crashes when the user closes a clip.", 1,
               [](auto& subject) {
                   for (int fed = 0; fed < 6; ++fed)
                       for (int end = 0; end < 3; ++end) {
                           auto const effect = subject.Make();
                           auto& stream = AsStream(*effect);
                           for (auto const& datum : subject.MakeData(fed))
                               stream.Feed(datum);
                           if (end == 1)
                               stream.End();
                           else if (end == 2)
                               (void)Refuses([&] { stream.Feed(MakeBroken(subject)); });
                       }
               }),
    ForEffects("interfaces-mixed", Group::State,
               "After Reset the effect works as a new one, whatever calls came before in any order.",
               "A host that previews and renders with one instance crashes.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (int i = 0; i < 10 * subject.GetLevel(); ++i) {
                       auto datum = subject.MakeDatum(i);
                       switch (subject.GetRandom()() % 5) {
                       case 0:
                           (void)Refuses([&] { effect->Process(datum); });
                           break;
                       case 1:
                           (void)Refuses([&] { stream.Feed(datum); });
                           break;
                       case 2:
                           (void)Refuses([&] { TakeAll(stream); });
                           break;
                       case 3:
                           (void)Refuses([&] { stream.End(); });
                           break;
                       default:
                           effect->Reset();
                       }
                   }
                   effect->Reset();
                   ExpectSame(Run(*effect, subject.MakeData(4)), subject.GetDue(4));
               }),
};

} // namespace

std::span<CheckInfo const> GetStateChecks() {
    return s_stateChecks;
}

} // namespace Tarsel::Check
