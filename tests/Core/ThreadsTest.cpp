#include "Core/RefCount.h"
#include "Core/ThreadBudget.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

using namespace Tarsel;
using Tarsel::Core::ThreadBudget;
using Tarsel::Core::ThreadLease;

namespace {

class ThreadBudgetTest : public testing::Test {
protected:
    void TearDown() override { ThreadBudget::Set(m_before); }

private:
    int m_before = ThreadBudget::Get();
};

TEST_F(ThreadBudgetTest, LeasesShareOneBudget) {
    ThreadBudget::Set(4);
    ThreadLease first(3);
    EXPECT_EQ(first.GetCount(), 3);
    {
        ThreadLease const second(8);
        EXPECT_EQ(second.GetCount(), 2);         // its own thread and the last of the four
        EXPECT_EQ(ThreadLease(8).GetCount(), 1); // used up, never refused
        EXPECT_EQ(ThreadLease(-5).GetCount(), 1);
    }
    EXPECT_EQ(ThreadLease(8).GetCount(), 2); // the second gave back
    first = ThreadLease();
    EXPECT_EQ(ThreadLease(8).GetCount(), 4); // so did the first
}

TEST_F(ThreadBudgetTest, LeasesKeepWhatTheyHaveWhenTheBudgetShrinks) {
    ThreadBudget::Set(6);
    {
        ThreadLease const large(6);
        ThreadBudget::Set(0);
        EXPECT_EQ(ThreadBudget::Get(), 1);
        EXPECT_EQ(large.GetCount(), 6);
        EXPECT_EQ(ThreadLease(2).GetCount(), 1);
    }
    ThreadBudget::Set(2);
    EXPECT_EQ(ThreadLease(2).GetCount(), 2);
}

TEST_F(ThreadBudgetTest, HoldsWithManyThreads) {
    constexpr int budget = 5;
    ThreadBudget::Set(budget);
    std::atomic<int> extra = 0;
    std::atomic<bool> exceeded = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 20000; ++k) {
                ThreadLease const lease(3);
                if (extra.fetch_add(lease.GetCount() - 1) + lease.GetCount() - 1 > budget - 1)
                    exceeded = true;
                extra.fetch_sub(lease.GetCount() - 1);
            }
        });
    threads.clear();
    EXPECT_FALSE(exceeded);
    EXPECT_EQ(ThreadLease(budget).GetCount(), budget); // all was given back
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
