#include "Check/Check.h"
#include "Check/ProcessState.h"

#include <array>
#include <chrono>
#include <sys/resource.h>

namespace Tarsel::Check {
namespace {

constexpr std::size_t s_mebibyte = 1 << 20;

constexpr std::array s_resourcesChecks{
    ForEffects("memory-flat", Group::Resources, "A long stream takes no more memory than a short one.",
               "A long video fills the memory.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   auto const datum = subject.MakeDatum(0);
                   std::int64_t time = 0;
                   // Slow effects get fewer, for the time limit.
                   auto const feed = [&](int count) {
                       auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
                       for (int i = 0; i < count && std::chrono::steady_clock::now() < end; ++i) {
                           datum->SetTime(time);
                           time += datum->GetDuration();
                           stream.Feed(datum);
                           (void)TakeAll(stream);
                       }
                   };
                   feed(200);
                   std::size_t const before = MeasureMemory();
                   feed(100 * subject.GetLevel());
                   std::size_t const after = MeasureMemory();
                   Expect(after < before + s_mebibyte, "it takes {} bytes more after {} s of the stream",
                          after - before, static_cast<double>(time) / 1e6);
               }),
    ForEffects("memory-flat-when-used-again", Group::Resources,
               "Streams, resets and settings leave no memory and no handle behind.",
               "The system ends a host that runs for days.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const use = [&](int rounds) {
                       auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
                       for (int i = 0; i < rounds && std::chrono::steady_clock::now() < end; ++i) {
                           (void)Run(*effect, subject.MakeData(2));
                           effect->SetSettings(*subject.GetSettings());
                           effect->Reset();
                       }
                   };
                   use(40);
                   std::size_t const memory = MeasureMemory();
                   std::size_t const handles = CountHandles();
                   use(20 * subject.GetLevel());
                   std::size_t const after = MeasureMemory();
                   Expect(after < memory + s_mebibyte, "it takes {} bytes more", after - memory);
                   Expect(CountHandles() <= handles, "{} handles are open, {} before", CountHandles(),
                          handles);
               }),
    ForEffects("process-unchanged", Group::Resources,
               "The effect leaves the process as it is: locale, folder, signals, rounding, environment.",
               "After an effect has run, the host misreads numbers, or cannot be interrupted.", 1,
               [](auto& subject) {
                   auto const before = DescribeProcess();
                   (void)Refuses([&] { Run(*subject.Make(), subject.MakeData(3)); });
                   ExpectSame(DescribeProcess(), before, "the process");
               }),
    ForEffects("memory-short", Group::Resources,
               "Out of memory, the effect throws an exception, and works again once there is some.",
               "The host loses all documents to one that is too large.", 4,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   auto const effect = subject.Make();
                   auto large = subject.GetForm();
                   if constexpr (std::is_same_v<Medium, Video>)
                       large.width = large.height = 4000;
                   else
                       large.samples *= 2000;
                   auto const datum = MakeDatum(large, 0);
                   rlimit before{};
                   (void)getrlimit(RLIMIT_AS, &before);
                   for (rlim_t const spare : {0U, 1U, 8U, 64U}) {
                       rlimit limit = before;
                       limit.rlim_cur = MeasureAddresses() + spare * s_mebibyte;
                       (void)setrlimit(RLIMIT_AS, &limit);
                       (void)Refuses([&] { Run(*effect, std::vector{datum}); });
                       (void)setrlimit(RLIMIT_AS, &before);
                       effect->Reset();
                   }
                   Expect(!Run(*effect, subject.MakeData(3)).empty(), "it outputs nothing afterwards");
               }),
    ForEffects("dropped-without-memory", Group::Resources, "Dropping an effect needs no memory.",
               "A host that closes what it can because memory is short is ended.", 3,
               [](auto& subject) {
                   auto effect = subject.Make();
                   auto datum = subject.MakeDatum(0);
                   (void)Refuses([&] { effect->Process(datum); }); // so that there is something to drop
                   Require(RunWithoutMemory([&] { effect.reset(); }), "memory has no end here");
               }),
};

} // namespace

std::span<CheckInfo const> GetResourceChecks() {
    return s_resourcesChecks;
}

} // namespace Tarsel::Check
