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

/// Runs `work` with 0 to `count` − 1, each in a thread of its own; the first exception passes.
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
    ForEffects("eight-threads", Group::Threads, "Eight effects in eight threads give what one gives alone.",
               "A batch on a server mixes up its users' films.", 1,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(6)));
                   InThreads(8, [&](int) {
                       for (int i = 0; i < 3; ++i) {
                           std::string const difference =
                               FindDifference(GetAllOf(Run(*subject.Make(), subject.MakeData(6))), due);
                           Expect(difference.empty(), "{}", difference);
                       }
                   });
               }),
    ForEffects("thread-after-thread", Group::Threads,
               "An effect may be made, fed, asked and dropped by different threads, one at a time.",
               "A host whose pool hands an effect from thread to thread crashes.", 2,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(6)));
                   auto effect = subject.MakePlain();
                   InThreads(1, [&](int) { effect = subject.Make(); });
                   std::vector<std::string> got;
                   auto const data = subject.MakeData(6);
                   auto& stream = AsStream(*effect);
                   auto const take = [&] {
                       for (auto const& result : TakeAll(stream))
                           got.push_back(GetAll(*result));
                   };
                   for (auto const& datum : data) {
                       InThreads(1, [&](int) { stream.Feed(datum); });
                       InThreads(1, [&](int) { take(); });
                   }
                   InThreads(1, [&](int) { stream.End(); });
                   take();
                   InThreads(1, [&](int) { effect.reset(); });
                   std::string const difference = FindDifference(got, due);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects(
        "two-threads-on-one", Group::Threads,
        "Two threads that take turns on one effect, data from one and settings from the other, do no harm.",
        "A slider that is moved while a film runs ends the host.", 3,
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
    ForEffects("threads-end", Group::Threads, "When an effect is dropped, its threads end.",
               "Every clip that was opened leaves threads behind.", 2,
               [](auto& subject) {
                   (void)Run(*subject.Make(), subject.MakeData(2));
                   std::size_t const before = CountThreads();
                   for (int i = 0; i < 20; ++i)
                       (void)Run(*subject.Make(), subject.MakeData(2));
                   // The kernel counts a thread that was joined for a moment longer.
                   for (int i = 0; i < 100 && CountThreads() > before; ++i)
                       std::this_thread::sleep_for(std::chrono::milliseconds(10));
                   Expect(CountThreads() <= before, "{} threads run, {} before", CountThreads(), before);
               }),
    ForEffects("threads-alike", Group::Threads,
               "With a budget of one thread and of many the results are the same.",
               "A film looks different on another machine.", 2,
               [](auto& subject) {
                   Core::ThreadBudget::Set(1);
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(5)));
                   for (int const threads : {2, 3, 8}) {
                       Core::ThreadBudget::Set(threads);
                       std::string const difference =
                           FindDifference(GetAllOf(Run(*subject.Make(), subject.MakeData(5))), due);
                       Expect(difference.empty(), "with {} threads {}", threads, difference);
                   }
               }),
    ForEffects("threads-within-budget", Group::Threads, "With a budget of one thread an effect starts none.",
               "A host that shares out its threads itself is slowed down by those it does not know of.", 3,
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
