#include "Check/Check.h"
#include "Check/ProcessState.h"
#include "Core/ThreadBudget.h"

#include <array>
#include <chrono>
#include <exception>
#include <mutex>
#include <thread>

namespace Tarsel::Check {
namespace {

/// Runs `work` with 0 to `count` − 1, each in a thread of its own; an exception passes.
template <class Work>
void InThreads(int count, Work const& work) {
    std::exception_ptr failure;
    std::mutex mutex;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&, i] {
                try {
                    work(i);
                } catch (...) {
                    std::lock_guard const lock(mutex);
                    failure = std::current_exception();
                }
            });
    }
    if (failure)
        std::rethrow_exception(failure);
}

constexpr std::array s_threadsChecks{
    ForEffects("eight-threads", Group::Threads,
               "Eight instances in eight threads give the results of one alone.",
               "A batch on a server mixes up its users' videos.", 1,
               [](auto& subject) {
                   auto const due = subject.GetDue(6);
                   InThreads(8, [&](int) {
                       for (int i = 0; i < 3; ++i)
                           ExpectSame(subject.GetDue(6), due);
                   });
               }),
    ForEffects("thread-after-thread", Group::Threads,
               "Different threads may create, feed, take from and drop an effect, one at a time.",
               "A host whose thread pool passes an effect around crashes.", 2,
               [](auto& subject) {
                   auto const inThread = [](auto const& work) { InThreads(1, [&](int) { work(); }); };
                   auto effect = subject.MakePlain();
                   inThread([&] { effect = subject.Make(); });
                   StreamDriver driver(*effect, {.call = inThread});
                   ExpectSame(driver.Run(subject.MakeData(6)), subject.GetDue(6));
                   inThread([&] { effect.reset(); });
               }),
    ForEffects("two-threads-on-one", Group::Threads,
               "Two threads may take turns on one effect, one with data, the other with settings.",
               "The host crashes when the user moves a slider while a video plays.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const settings = subject.GetSettings();
                   std::mutex turn;
                   InThreads(2, [&](int thread) {
                       for (int i = 0; i < 20; ++i) {
                           std::lock_guard const lock(turn);
                           if (thread == 0) {
                               auto datum = subject.MakeDatum(i);
                               (void)Refuses([&] { effect->Process(datum); });
                           } else {
                               effect->SetSettings(*settings);
                               (void)effect->GetStatistic();
                           }
                       }
                   });
               }),
    ForEffects("threads-end", Group::Threads, "A dropped effect leaves no thread behind.",
               "Every clip that was opened leaves threads behind.", 2,
               [](auto& subject) {
                   (void)Run(*subject.Make(), subject.MakeData(2));
                   std::size_t const before = CountThreads();
                   for (int i = 0; i < 20; ++i)
                       (void)Run(*subject.Make(), subject.MakeData(2));
                   // The kernel counts a thread that was joined for a moment longer.
                   for (int i = 0; i < 100 && CountThreads() > before; ++i)
                       std::this_thread::sleep_for(std::chrono::milliseconds(10));
                   Expect(CountThreads() <= before, "{} threads instead of {}", CountThreads(), before);
               }),
    ForEffects("threads-alike", Group::Threads, "The results are the same with any thread budget.",
               "A video looks different on another machine.", 2,
               [](auto& subject) {
                   Core::ThreadBudget::Set(1);
                   auto const due = subject.GetDue(5);
                   for (int const threads : {2, 3, 8}) {
                       Core::ThreadBudget::Set(threads);
                       ExpectSame(subject.GetDue(5), due, fmt::format("with {} threads", threads));
                   }
               }),
    ForEffects("threads-within-budget", Group::Threads, "With a budget of one thread the effect starts none.",
               "Threads that the host does not know of slow it down.", 3,
               [](auto& subject) {
                   Core::ThreadBudget::Set(1);
                   std::size_t const before = CountThreads();
                   auto const effect = subject.Make();
                   for (int i = 0; i < 3; ++i) {
                       auto datum = subject.MakeDatum(i);
                       effect->Process(datum);
                       Expect(CountThreads() <= before, "it starts {}", CountThreads() - before);
                   }
               }),
};

} // namespace

std::span<CheckInfo const> GetThreadChecks() {
    return s_threadsChecks;
}

} // namespace Tarsel::Check
