#include "Core/Files.h"
#include "Core/RefCount.h"
#include "Core/ThreadBudget.h"
#include "Core/WorkPool.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <fcntl.h>
#include <latch>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Tarsel;
using Tarsel::Core::ThreadBudget;
using Tarsel::Core::WorkPool;

namespace {

class Pool : public testing::Test {
protected:
    ~Pool() override { ThreadBudget::Set(m_before); }

private:
    int m_before = ThreadBudget::Get();
};

/// Says on which thread it was done, and may wait before it is.
struct Job final : WorkPool::Job {
    explicit Job(int waits = 0) : end(waits) {}
    void Work() noexcept override {
        began.count_down();
        end.wait();
        thread = std::this_thread::get_id();
        hasPool = WorkPool::Share() != nullptr;
    }

    std::latch began{1};
    std::latch end;
    std::thread::id thread;
    bool hasPool = true;
};

TEST_F(Pool, IsOneForTheBudget) {
    ThreadBudget::Set(4);
    auto const pool = WorkPool::Share();
    EXPECT_EQ(pool->GetCount(), 4);
    EXPECT_EQ(WorkPool::Share(), pool);
    ThreadBudget::Set(3);
    EXPECT_EQ(WorkPool::Share()->GetCount(), 3);
    EXPECT_EQ(pool->GetCount(), 4);
    ThreadBudget::Set(0);
    EXPECT_EQ(ThreadBudget::Get(), 1);
    EXPECT_EQ(WorkPool::Share(), nullptr);
}

TEST_F(Pool, WaitingForAJobDoesIt) {
    ThreadBudget::Set(2);
    auto const pool = WorkPool::Share();
    Job elsewhere;
    pool->Add(elsewhere);
    elsewhere.began.wait();
    pool->Finish(elsewhere);
    EXPECT_NE(elsewhere.thread, std::this_thread::get_id());
    EXPECT_FALSE(elsewhere.hasPool) << "jobs have the thread that does them, and no other";

    Job blocking(1); // the pool's only thread
    pool->Add(blocking);
    blocking.began.wait();
    Job first;
    Job second;
    Job third;
    for (Job* const job : {&first, &second, &third})
        pool->Add(*job);
    pool->Drop(second);
    pool->Finish(third);
    EXPECT_EQ(third.thread, std::this_thread::get_id());
    EXPECT_FALSE(third.hasPool);
    pool->Finish(third); // nothing to do
    blocking.end.count_down();
    pool->Finish(blocking);
    pool->Finish(first);
    EXPECT_NE(first.thread, std::thread::id());
    EXPECT_EQ(second.thread, std::thread::id()) << "it was taken back";
}

TEST_F(Pool, NumbersAreWorkedOffOnceByManyThreads) {
    constexpr int budget = 3;
    constexpr int callers = 3;
    ThreadBudget::Set(budget);
    auto const pool = WorkPool::Share();
    std::atomic<int> working = 0;
    std::atomic<int> most = 0;
    std::atomic<int> wrong = 0;
    auto const callAll = [&] {
        for (int count = 0; count < 400; ++count) {
            std::vector<std::atomic<int>> calls(static_cast<std::size_t>(count % 9));
            pool->ForEach(count % 9, [&](int i) {
                int const now = ++working;
                for (int before = most; before < now && !most.compare_exchange_weak(before, now);) {
                }
                ++calls[static_cast<std::size_t>(i)];
                pool->ForEach(i, [&](int) { ++calls[static_cast<std::size_t>(i)]; });
                --working;
            });
            for (std::size_t i = 0; i < calls.size(); ++i)
                wrong += calls[i] != static_cast<int>(i) + 1;
        }
    };
    std::vector<std::jthread> threads;
    for (int i = 0; i < callers; ++i)
        threads.emplace_back(callAll);
    threads.clear();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(most, budget - 1 + callers);
}

TEST_F(Pool, SlicesRunSideBySide) {
    ThreadBudget::Set(2);
    auto const pool = WorkPool::Share();
    ASSERT_TRUE(pool);
    // Each waits for the other: one after the other they would never end.
    std::latch both(2);
    pool->ForEach(2, [&](int) { both.arrive_and_wait(); });
}

TEST(Files, WriteAllWaitsForASlowReader) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    std::string const text(1'000'000, 'x');
    std::size_t seen = 0;
    std::jthread const reader([&] {
        std::array<char, 5000> part{};
        while (seen < text.size()) {
            ssize_t const count = read(ends[0], part.data(), part.size());
            seen += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        close(ends[0]);
    });
    EXPECT_EQ(Core::WriteAll(ends[1], text), 0);
    close(ends[1]);
}

class Counted : public Core::RefCounted<Core::IRefCountable> {
public:
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

private:
    int& m_alive;
};

TEST(RefCount, SurvivesManyThreads) {
    int alive = 0;
    SP<Counted> object = MakeSP<Counted>(alive);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([object] {
            for (int k = 0; k < 20000; ++k)
                SP<Counted const>(object.get());
        });
    threads.clear();
    EXPECT_EQ(object->GetRefCount(), 1);
    object.reset();
    EXPECT_EQ(alive, 0);
}

} // namespace
