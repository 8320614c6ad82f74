#include "Check/Check.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <algorithm>
#include <array>
#include <typeinfo>

namespace Tarsel::Check {
namespace {

/// One call of Process; null if the effect holds the datum back.
template <class Effect, class Data>
SP<Data> Process(Effect& effect, SP<Data> datum) {
    effect.Process(datum);
    return datum;
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
    ForEffects("null-stays-null", Group::Frames,
               "Process leaves null as it is, unless the effect holds data back.",
               "A host that asks for held data with null gets data out of nothing.", 1,
               [](auto& subject) {
                   using Data = typename std::decay_t<decltype(subject)>::Data;
                   auto const effect = subject.Make();
                   Expect(Process(*effect, SP<Data>()) == nullptr, "Process makes something of null");
                   auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(&*effect);
                   bool const holdsNothing = details != nullptr && Host::HoldsNothing(details->GetTraits());
                   for (int i = 0; i < 2; ++i) {
                       (void)Process(*effect, subject.MakeDatum(i));
                       bool const isNull = Process(*effect, SP<Data>()) == nullptr;
                       Expect(isNull || !holdsNothing,
                              "Process makes something of null, though the traits state no delay");
                   }
               }),
    ForEffects("process-data", Group::Frames,
               "ProcessData gives the results of Process. It throws std::logic_error for another number of "
               "inputs than one, std::bad_cast for another medium.",
               "A host that handles all media alike gets other results, or crashes.", 2,
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
                   ExpectSame(got, GetAllOf(due));
                   SP<Proc::IData> const own = subject.MakeDatum(0);
                   SP<Proc::IData> const foreign = MakeDatum(typename Other::Form(), 0);
                   for (auto const& wrong : {std::vector<SP<Proc::IData>>{}, {own, own}})
                       Expect(Throws<std::logic_error>([&] { effect->ProcessData(wrong); }),
                              "ProcessData takes {} inputs", wrong.size());
                   Expect(Throws<std::bad_cast>([&] { effect->ProcessData({foreign}); }),
                          "ProcessData takes data of another medium");
               }),
    ForEffects("input-unchanged", Group::Frames,
               "The effect leaves its input as it is: content, times, form.",
               "A frame that the host still shows, or keeps for undo, changes.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const data = subject.MakeData(4);
                   auto const before = GetAllOf(data);
                   auto const results = Run(*effect, data);
                   ExpectSame(data, before);
               }),
    ForEffects("result-apart", Group::Frames,
               "The host may write to a result: input and later results stay as they are.",
               "A title drawn on a result appears in the source, or in the next frames.", 2,
               [](auto& subject) {
                   auto const data = subject.MakeData(4);
                   auto const before = GetAllOf(data);
                   auto const effect = subject.Make();
                   StreamDriver driver(*effect, {.taken = [&](auto& result) {
                       // An effect may pass its input through: that is the host's own.
                       if (std::ranges::find(data, &result, [](auto const& in) { return in.get(); }) ==
                           data.end())
                           Invert(result);
                   }});
                   ExpectSame(driver.Run(data), subject.GetDue(4), "after results were written to");
                   ExpectSame(data, before, "input after results were written to");
               }),
    ForEffects("same-again", Group::Frames, "The same input gives the same result in every instance.",
               "A video rendered twice differs, and nobody knows which is right.", 1,
               [](auto& subject) {
                   auto const first = subject.GetDue(5);
                   for (int i = 0; i < 2; ++i)
                       ExpectSame(subject.GetDue(5), first);
               }),
    ForEffects("any-settings", Group::Frames,
               "With any legal settings the effect works, or throws an exception that says why.",
               "Somebody's preset crashes the host.", 3,
               [](auto& subject) {
                   int done = 0;
                   for (int i = 0; i < 3 * subject.GetLevel(); ++i) {
                       auto const settings = subject.DrawSettings();
                       auto const effect = subject.MakePlain();
                       if (Refuses([&] { effect->SetSettings(*settings); }))
                           continue;
                       done += !Refuses([&] { Run(*effect, subject.MakeData(2)); });
                   }
                   Require(done > 0, "it refuses all settings that were drawn");
               }),
    ForEffects("any-form", Group::Frames,
               "The effect works on data of any form, or throws an exception that says why.",
               "One user's camera crashes the host.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   for (auto const& form : GetForms(Medium(), subject.GetLevel())) {
                       auto const effect = subject.Make();
                       (void)Refuses([&] { Run(*effect, {MakeDatum(form, 0), MakeDatum(form, 1)}); });
                   }
               }),
    ForEffects("statistics", Group::Frames, "GetStatistic works at any time.",
               "The host crashes when it shows progress.", 2,
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
