#include "Check/Check.h"
#include "Conf/FormatCodecVideo.h"

#include <array>

namespace Tarsel::Check {
namespace {

/// What the effect says becomes of that form.
template <class Effect, class Form>
Form Ask(Effect& effect, Form const& form) {
    auto format = MakeFormat(form);
    effect.UpdateFormatCodec(format);
    Expect(format != nullptr, "UpdateFormatCodec leaves a null");
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

/// What is asked before, what comes out, and what is asked after are the same; or all are refused. Returns
/// whether they are not refused.
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
        Expect(Comparable(GetForm(*result)) == Comparable(first), "of {} it says {} and makes {}",
               GetText(form), GetText(first), GetText(Comparable(GetForm(*result))));
    Form const later = Ask(*effect, form);
    Expect(later == first, "of {} it says {} before the first datum and {} after it", GetText(form),
           GetText(first), GetText(later));
    return true;
}

constexpr std::array s_formatsChecks{
    ForEffects("format-agrees", Group::Formats,
               "The format and size said before the first datum are those of what comes out.",
               "Encoders and windows are opened for the wrong size.", 1,
               [](auto& subject) {
                   Expect(Agrees(subject, subject.GetForm()), "a common form is refused: {}",
                          GetText(subject.GetForm()));
               }),
    ForEffects("format-agrees-everywhere", Group::Formats,
               "So it is for every format and size that the effect does not refuse.",
               "One user's camera breaks the host.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   int taken = 0;
                   for (auto const& form : GetForms(Medium(), subject.GetLevel()))
                       taken += Agrees(subject, form);
                   Expect(taken > 0, "every form is refused");
               }),
    ForEffects("format-asked-again", Group::Formats, "The same question gets the same answer.",
               "What a host shows changes though nothing was changed.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const first = Ask(*effect, subject.GetForm());
                   for (int i = 0; i < 3; ++i)
                       Expect(Ask(*effect, subject.GetForm()) == first, "it is another one the next time");
               }),
    ForEffects("format-asks-nothing", Group::Formats,
               "A question in the middle of a stream, of this form or another, changes no result.",
               "Hosts ask for thumbnails and menus while a film runs.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   auto const data = subject.MakeData(6);
                   auto const due = GetAllOf(Run(*subject.Make(), data));
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   std::vector<std::string> got;
                   auto const take = [&] {
                       for (auto const& result : TakeAll(stream))
                           got.push_back(GetAll(*result));
                   };
                   for (auto const& datum : data) {
                       stream.Feed(datum);
                       for (auto const& form : GetUsualForms(Medium()))
                           (void)Refuses([&] { Ask(*effect, form); });
                       take();
                   }
                   stream.End();
                   take();
                   std::string const difference = FindDifference(got, due);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects("format-of-new-settings", Group::Formats,
               "After new settings the answer is theirs, before any datum is seen.",
               "A host that previews a change shows the size of before.", 2,
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
                       Expect(Refuses([&] { got = Ask(*changed, got); }) == isRefused && got == due,
                              "it says {} where a new effect says {}", GetText(got), GetText(due));
                   }
               }),
    CheckInfo{"format-impossible", Group::Formats,
              "Formats and sizes that cannot be are refused or passed on, whatever numbers they are.",
              "A damaged file ends the host.", 4, nullptr,
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
