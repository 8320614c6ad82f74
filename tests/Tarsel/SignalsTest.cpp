#include "Tools/Tarsel/Signals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace Tarsel::Tools {
namespace {

TEST(Signals, TheFirstAsksForAStop) {
    for (int const signal : {SIGINT, SIGTERM}) {
        std::stop_source stop;
        StopOnSignals const signals(stop);
        EXPECT_FALSE(stop.stop_requested());
        std::raise(signal);
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!stop.stop_requested() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_TRUE(stop.stop_requested()) << signal;
    }
}

TEST(SignalsDeathTest, TheSecondKills) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    auto const interruptTwice = [] {
        StopOnSignals const signals{std::stop_source()};
        std::raise(SIGINT);
        std::raise(SIGINT);
    };
    EXPECT_EXIT(interruptTwice(), testing::KilledBySignal(SIGINT), "");
    auto const interruptAfterwards = [] {
        { StopOnSignals const signals{std::stop_source()}; }
        std::raise(SIGTERM);
    };
    EXPECT_EXIT(interruptAfterwards(), testing::KilledBySignal(SIGTERM), "");
}

TEST(Signals, WhatTheParentIgnoredStaysIgnored) {
    auto const before = std::signal(SIGINT, SIG_IGN);
    {
        std::stop_source stop;
        StopOnSignals const signals(stop);
        std::raise(SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(stop.stop_requested());
    }
    EXPECT_EQ(std::signal(SIGINT, before), SIG_IGN);
}

} // namespace
} // namespace Tarsel::Tools
