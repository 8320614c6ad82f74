#include "Media/Run/BoundedQueue.h"
#include "Media/Run/Pipeline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

namespace Tarsel::Media {
namespace {

using namespace std::chrono_literals;

void RunAll(std::vector<std::function<void()>> const& stages, std::stop_source stop) {
    RunStages(
        stages, std::move(stop), [] {}, 10ms);
}

TEST(Stages, TheFirstFailureEndsAll) {
    for (int failing = 0; failing < 3; ++failing) {
        std::stop_source stop;
        BoundedQueue<int> first(2, stop.get_token());
        BoundedQueue<int> second(2, stop.get_token());
        auto const fail = [&](int stage, int item) {
            if (stage == failing && item == 10)
                throw std::runtime_error("stage " + std::to_string(stage));
        };
        auto const make = [&] {
            for (int i = 0;; ++i) {
                fail(0, i);
                first.Push(i);
            }
        };
        auto const pass = [&] {
            while (auto item = first.Pop()) {
                fail(1, *item);
                second.Push(*item);
            }
        };
        auto const take = [&] {
            while (auto item = second.Pop())
                fail(2, *item);
        };
        try {
            RunAll({make, pass, take}, stop);
            FAIL();
        } catch (std::runtime_error const& error) {
            EXPECT_EQ(error.what(), "stage " + std::to_string(failing));
        }
        EXPECT_TRUE(stop.stop_requested());
    }
}

TEST(Stages, StoppingEndsAllWaiting) {
    std::stop_source stop;
    BoundedQueue<int> full(1, stop.get_token());
    BoundedQueue<int> empty(1, stop.get_token());
    std::atomic<int> ended{0};
    auto const wait = [&](auto work) {
        return [&ended, work] {
            try {
                work();
            } catch (Stopped const&) {
                ++ended;
                throw;
            }
        };
    };
    RunAll({wait([&] {
                full.Push(1);
                full.Push(2);
            }),
            wait([&] { empty.Pop(); }),
            [&] {
                std::this_thread::sleep_for(50ms);
                stop.request_stop();
            }},
           stop);
    EXPECT_EQ(ended, 2);
}

TEST(Stages, TicksComeOnTheCallersThreadAndMayFail) {
    std::stop_source stop;
    int ticks = 0;
    auto const work = [token = stop.get_token()] {
        while (!token.stop_requested())
            std::this_thread::sleep_for(1ms);
    };
    auto const caller = std::this_thread::get_id();
    EXPECT_THROW(RunStages(
                     {work}, stop,
                     [&] {
                         EXPECT_EQ(std::this_thread::get_id(), caller);
                         if (++ticks == 3)
                             throw std::logic_error("enough");
                     },
                     5ms),
                 std::logic_error);
    EXPECT_GE(ticks, 3);
}

} // namespace
} // namespace Tarsel::Media
