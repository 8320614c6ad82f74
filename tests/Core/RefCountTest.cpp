#include "Core/RefCount.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Tarsel;

namespace {

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
