#include "Check/Check.h"

#include <array>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Check {
namespace {

/// A datum that no effect can work on: less memory than it says.
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
    ForEffects("reset", Group::State, "After Reset a stream begins afresh with the same settings.",
               "A jump in the timeline shows what was before it.", 1,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(5)));
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (int fed = 0; fed < 4; ++fed) {
                       for (auto const& datum : subject.MakeData(fed))
                           stream.Feed(datum);
                       effect->Reset();
                       Expect(stream.Take() == nullptr, "after Reset something of before comes");
                       std::string const difference =
                           FindDifference(GetAllOf(Run(*effect, subject.MakeData(5))), due);
                       Expect(difference.empty(), "after {} data and Reset {}", fed, difference);
                   }
                   Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()),
                          "Reset changes settings");
               }),
    ForEffects(
        "after-failure", Group::State, "After an exception the effect works on, with the settings it had.",
        "One broken frame in a film spoils all that follow.", 2,
        [](auto& subject) {
            auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(5)));
            auto const effect = subject.Make();
            auto const broken = MakeBroken(subject);
            (void)Refuses([&] { Run(*effect, std::vector{broken}); });
            effect->Reset();
            Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()), "the settings have changed");
            std::string const difference = FindDifference(GetAllOf(Run(*effect, subject.MakeData(5))), due);
            Expect(difference.empty(), "{}", difference);
        }),
    ForEffects("after-failure-without-reset", Group::State,
               "So it does without Reset: only the datum that failed is lost.",
               "A host that goes on after a damaged frame loses the rest.", 4,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   (void)Refuses([&] { Run(*effect, std::vector{MakeBroken(subject)}); });
                   Expect(Run(*effect, subject.MakeData(5)).size() >= 4, "frames are lost after it");
               }),
    ForEffects("settings-in-mid-stream", Group::State,
               "New settings in the middle of a stream act from then on, and nothing crashes or is lost.",
               "A slider that is moved while a film runs ends the host.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   auto const data = subject.MakeData(3 + subject.GetLevel());
                   for (auto const& datum : data) {
                       (void)Refuses([&] { stream.Feed(datum); });
                       (void)Refuses([&] { TakeAll(stream); });
                       auto const settings = subject.DrawSettings();
                       if (!Refuses([&] { effect->SetSettings(*settings); }))
                           Expect(effect->GetSettingsBase().IsEqualTo(*settings), "the effect has others");
                   }
                   effect->Reset();
                   effect->SetSettings(*subject.GetSettings());
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(4)));
                   std::string const difference =
                       FindDifference(GetAllOf(Run(*effect, subject.MakeData(4))), due);
                   Expect(difference.empty(), "with its first settings again {}", difference);
               }),
    ForEffects("refused-settings", Group::State,
               "Settings that are refused leave those of before, and the stream goes on as without them.",
               "A typing error in one field changes the running film.", 3,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(6)));
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   std::vector<std::string> got;
                   auto const data = subject.MakeData(6);
                   for (auto const& datum : data) {
                       stream.Feed(datum);
                       for (auto const& result : TakeAll(stream))
                           got.push_back(GetAll(*result));
                       auto const copy = effect->GetSettingsBase().Clone();
                       Require(Refuses([&] { copy->Deserialize("no-such-key=1"); }), "nothing is refused");
                   }
                   stream.End();
                   for (auto const& result : TakeAll(stream))
                       got.push_back(GetAll(*result));
                   std::string const difference = FindDifference(got, due);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects("two-apart", Group::State, "Two effects at work in turn do not disturb each other.",
               "Two tracks of a film show each other's pictures.", 1,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(5)));
                   std::array const effects{subject.Make(), subject.Make()};
                   std::array<std::vector<std::string>, 2> got;
                   auto const data = subject.MakeData(5);
                   auto const take = [&](std::size_t i) {
                       for (auto const& result : TakeAll(AsStream(*effects[i])))
                           got[i].push_back(GetAll(*result));
                   };
                   for (auto const& datum : data)
                       for (std::size_t i = 0; i < effects.size(); ++i) {
                           AsStream(*effects[i]).Feed(datum);
                           take(i);
                       }
                   for (std::size_t i = 0; i < effects.size(); ++i) {
                       AsStream(*effects[i]).End();
                       take(i);
                       std::string const difference = FindDifference(got[i], due);
                       Expect(difference.empty(), "{}", difference);
                   }
               }),
    ForEffects("dropped-in-mid-stream", Group::State,
               "An effect can be dropped at any time: new, fed, ended or failed.",
               "A user who closes a clip ends the host.", 1,
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
               "Process, Feed and questions may be mixed with Reset between them, in any order.",
               "A host that previews and renders with one effect crashes.", 3,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(4)));
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
                   std::string const difference =
                       FindDifference(GetAllOf(Run(*effect, subject.MakeData(4))), due);
                   Expect(difference.empty(), "after all that {}", difference);
               }),
};

} // namespace

std::span<CheckInfo const> GetStateChecks() {
    return s_stateChecks;
}

} // namespace Tarsel::Check
