#include "Check/Check.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <array>
#include <typeinfo>

namespace Tarsel::Check {
namespace {

/// One call of Process; null for a datum that is held back.
template <class Effect, class Data>
SP<Data> Process(Effect& effect, SP<Data> datum) {
    effect.Process(datum);
    return datum;
}

bool HoldsNothing(Proc::EffectTraits const& traits) {
    return traits.delayFrames == 0 && traits.delayTime == 0 && traits.framesPerFrame == 1 && !traits.tail;
}

/// Whether `call` throws an E.
template <class E, class Call>
bool Throws(Call const& call) {
    try {
        call();
    } catch (E const&) {
        return true;
    }
    return false;
}

constexpr std::array s_framesChecks{
    ForEffects("null-stays-null", Group::Frames, "Process leaves a null a null.",
               "Hosts ask for what is held back with a null, and crash on what comes.", 1,
               [](auto& subject) {
                   using Data = typename std::decay_t<decltype(subject)>::Data;
                   auto const effect = subject.Make();
                   Expect(Process(*effect, SP<Data>()) == nullptr, "a null becomes a datum");
                   auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(&*effect);
                   bool const holdsNothing = details != nullptr && HoldsNothing(details->GetTraits());
                   for (int i = 0; i < 2; ++i) {
                       (void)Process(*effect, subject.MakeDatum(i));
                       bool const isNull = Process(*effect, SP<Data>()) == nullptr;
                       Expect(isNull || !holdsNothing,
                              "a null becomes a datum, though the traits say that nothing is held back");
                   }
               }),
    ForEffects("process-data", Group::Frames,
               "ProcessData does what Process does, and takes one datum of its medium: std::logic_error for "
               "another number, std::bad_cast for another medium.",
               "A host without types of media gets other results, or crashes.", 2,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   using Data = typename Medium::Data;
                   using Other = std::conditional_t<std::is_same_v<Medium, Video>, Audio, Video>;
                   auto const effect = subject.Make();
                   std::vector<SP<Data>> got;
                   for (SP<Data> const& datum : subject.MakeData(3))
                       if (auto const result = boost::dynamic_pointer_cast<Data>(
                               effect->ProcessData(std::vector<SP<Proc::IData>>{datum})))
                           got.push_back(result);
                   auto const other = subject.Make();
                   std::vector<SP<Data>> due;
                   for (SP<Data> const& datum : subject.MakeData(3))
                       if (SP<Data> const result = Process(*other, datum))
                           due.push_back(result);
                   std::string const difference = FindDifference(GetAllOf(got), GetAllOf(due));
                   Expect(difference.empty(), "{}", difference);
                   SP<Proc::IData> const own = subject.MakeDatum(0);
                   SP<Proc::IData> const foreign = MakeDatum(typename Other::Form(), 0);
                   for (auto const& wrong : {std::vector<SP<Proc::IData>>{}, {own, own}})
                       Expect(Throws<std::logic_error>([&] { effect->ProcessData(wrong); }),
                              "{} data are taken", wrong.size());
                   Expect(Throws<std::bad_cast>([&] { effect->ProcessData({foreign}); }),
                          "a datum of another medium is taken");
               }),
    ForEffects("input-unchanged", Group::Frames, "What went in stays as it was: content, times, form.",
               "A frame that is shown or undone elsewhere changes under its owner.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const data = subject.MakeData(4);
                   auto const before = GetAllOf(data);
                   auto const results = Run(*effect, data);
                   std::string const difference = FindDifference(GetAllOf(data), before);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects("result-apart", Group::Frames,
               "A result may be written to, and what went in, and what comes later, stay as they are.",
               "A title drawn on the result appears in the source, or in the next frames.", 2,
               [](auto& subject) {
                   auto const data = subject.MakeData(4);
                   auto const before = GetAllOf(data);
                   auto const due = GetAllOf(Run(*subject.Make(), data));
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   std::vector<std::string> got;
                   auto const take = [&] {
                       for (auto const& result : TakeAll(stream)) {
                           got.push_back(GetAll(*result));
                           Invert(*result);
                       }
                   };
                   for (auto const& datum : data) {
                       stream.Feed(datum);
                       take();
                   }
                   stream.End();
                   take();
                   std::string const late = FindDifference(got, due);
                   Expect(late.empty(), "later results change: {}", late);
                   std::string const early = FindDifference(GetAllOf(data), before);
                   Expect(early.empty(), "what went in changes: {}", early);
               }),
    ForEffects("same-again", Group::Frames, "The same data give the same result, in any effect of the class.",
               "A film rendered twice differs, and nobody can say which is right.", 1,
               [](auto& subject) {
                   auto const first = GetAllOf(Run(*subject.Make(), subject.MakeData(5)));
                   for (int i = 0; i < 2; ++i) {
                       std::string const difference =
                           FindDifference(GetAllOf(Run(*subject.Make(), subject.MakeData(5))), first);
                       Expect(difference.empty(), "{}", difference);
                   }
               }),
    ForEffects("any-settings", Group::Frames,
               "With any legal settings data are processed, or refused by an exception that says why.",
               "A preset somebody wrote ends the host.", 3,
               [](auto& subject) {
                   int done = 0;
                   for (int i = 0; i < 3 * subject.GetLevel(); ++i) {
                       auto const settings = subject.DrawSettings();
                       auto const effect = subject.MakePlain();
                       if (Refuses([&] { effect->SetSettings(*settings); }))
                           continue;
                       done += !Refuses([&] { Run(*effect, subject.MakeData(2)); });
                   }
                   Expect(done > 0, "all of them are refused");
               }),
    ForEffects("any-form", Group::Frames,
               "Data of any form are processed, or refused by an exception that says why.",
               "One user's camera ends the host.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   for (auto const& form : GetForms(Medium(), subject.GetLevel())) {
                       auto const effect = subject.Make();
                       (void)Refuses([&] { Run(*effect, {MakeDatum(form, 0), MakeDatum(form, 1)}); });
                   }
               }),
    ForEffects("statistics", Group::Frames, "GetStatistic can be asked at any time.",
               "A window that shows how far a run is crashes the host.", 2,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   (void)effect->GetStatistic();
                   (void)Refuses([&] { Run(*effect, subject.MakeData(2)); });
                   (void)effect->GetStatistic();
                   effect->Reset();
                   (void)effect->GetStatistic();
               }),
};

} // namespace

std::span<CheckInfo const> GetFrameChecks() {
    return s_framesChecks;
}

} // namespace Tarsel::Check
