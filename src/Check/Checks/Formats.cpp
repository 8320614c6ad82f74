#include "Check/Check.h"
#include "Conf/FormatCodecVideo.h"

#include <array>

namespace Tarsel::Check {
namespace {

/// What the effect states as its output for that form.
template <class Effect, class Form>
Form Ask(Effect& effect, Form const& form) {
    auto format = MakeFormat(form);
    effect.UpdateFormatCodec(format);
    Expect(format != nullptr, "UpdateFormatCodec leaves null");
    return GetForm(*format);
}

/// Without what a format cannot say.
Video::Form Comparable(Video::Form form) {
    return form;
}
Audio::Form Comparable(Audio::Form form) {
    form.samples = 0;
    return form;
}

/// The answer before, the output, and the answer after are the same; or the form is refused. Returns whether
/// the effect takes it.
template <class Subject, class Form>
bool Agrees(Subject& subject, Form const& form) {
    auto const effect = subject.Make();
    Form first;
    bool const isRefused = Refuses([&] { first = Ask(*effect, form); });
    std::vector<SP<typename Subject::Data>> results;
    bool const isFrameRefused = Refuses([&] { results = Run(*effect, {Check::MakeDatum(form, 0)}); });
    if (isRefused || isFrameRefused)
        return false;
    for (auto const& result : results)
        Expect(Comparable(GetForm(*result)) == Comparable(first), "for {} it states {} and outputs {}",
               GetText(form), GetText(first), GetText(Comparable(GetForm(*result))));
    Form const later = Ask(*effect, form);
    Expect(later == first, "for {} it states {} before the first input and {} after it", GetText(form),
           GetText(first), GetText(later));
    return true;
}

constexpr std::array s_formatsChecks{
    ForEffects("format-agrees", Group::Formats,
               "UpdateFormatCodec states the format and size of the output, before any input and after it.",
               "The host opens an encoder or a window of the wrong size.", 1,
               [](auto& subject) {
                   Expect(Agrees(subject, subject.GetForm()), "it refuses a common form: {}",
                          GetText(subject.GetForm()));
               }),
    ForEffects("format-agrees-everywhere", Group::Formats,
               "UpdateFormatCodec does so for every format and size that the effect takes.",
               "The host fails with one user's camera.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   int taken = 0;
                   for (auto const& form : GetForms(Medium(), subject.GetLevel()))
                       taken += Agrees(subject, form);
                   Expect(taken > 0, "it refuses every form");
               }),
    ForEffects("format-asked-again", Group::Formats, "UpdateFormatCodec gives the same answer each time.",
               "The host shows a change although nothing was changed.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const first = Ask(*effect, subject.GetForm());
                   for (int i = 0; i < 3; ++i)
                       Expect(Ask(*effect, subject.GetForm()) == first, "the next answer differs");
               }),
    ForEffects("format-asks-nothing", Group::Formats,
               "UpdateFormatCodec in the middle of a stream, for any form, changes no result.",
               "Hosts query formats for thumbnails and menus while a video plays.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   auto const effect = subject.Make();
                   StreamDriver driver(*effect, {.fed = [&] {
                       for (auto const& form : GetUsualForms(Medium()))
                           (void)Refuses([&] { Ask(*effect, form); });
                   }});
                   ExpectSame(driver.Run(subject.MakeData(6)), subject.GetDue(6));
               }),
    ForEffects("format-of-new-settings", Group::Formats,
               "After SetSettings UpdateFormatCodec answers for the new settings, before any input.",
               "A host that previews a change shows the old size.", 2,
               [](auto& subject) {
                   for (int i = 0; i < 2 * subject.GetLevel(); ++i) {
                       auto const settings = subject.DrawSettings();
                       auto const changed = subject.Make();
                       (void)Refuses([&] { Ask(*changed, subject.GetForm()); });
                       auto const made = subject.MakePlain();
                       bool const isRefusedLater = Refuses([&] { changed->SetSettings(*settings); });
                       if (Refuses([&] { made->SetSettings(*settings); }) || isRefusedLater)
                           continue;
                       auto due = subject.GetForm();
                       auto got = due;
                       bool const isRefused = Refuses([&] { due = Ask(*made, due); });
                       bool const isRefusedToo = Refuses([&] { got = Ask(*changed, got); });
                       Expect(isRefusedToo == isRefused && got == due, "it states {}, a new effect {}",
                              GetText(got), GetText(due));
                   }
               }),
    CheckInfo{"format-impossible", Group::Formats,
              "UpdateFormatCodec refuses or passes on impossible formats and sizes.",
              "A damaged file crashes the host.", 4, nullptr,
              [](Subject<Video>& subject) {
                  for (int const number : {-2, -1, 100000, 2147483647})
                      for (std::uint32_t const size : {0U, 1U, 32767U, 100000U, 4294967295U}) {
                          auto const effect = subject.Make();
                          SP<Conf::IFormatCodecVideo> format = MakeSP<Conf::FormatCodecVideo>(
                              static_cast<Conf::PixFmt>(number), Conf::FrameInfo{size, size, 1, 1});
                          (void)Refuses([&] { effect->UpdateFormatCodec(format); });
                      }
              },
              [](Subject<Audio>& subject) {
                  for (std::uint32_t const number : {10U, 11U, 4294967295U})
                      for (std::int32_t const rate : {-1, 0, 1, 2147483647})
                          for (Conf::ChannelLayout const& layout :
                               {Conf::ChannelLayout{0, 0}, {0, 255}, {3, 1}, {~0ULL, 64}}) {
                              auto const effect = subject.Make();
                              auto format = MakeFormat(
                                  Audio::Form{{static_cast<Conf::SampleFormats>(number), rate, layout}, 0});
                              (void)Refuses([&] { effect->UpdateFormatCodec(format); });
                          }
              }},
};

} // namespace

std::span<CheckInfo const> GetFormatChecks() {
    return s_formatsChecks;
}

} // namespace Tarsel::Check
