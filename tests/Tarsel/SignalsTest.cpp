#include "Tools/Tarsel/Console/Signals.h"
#include "Core/TemporaryPath.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace Tarsel::Tools {
namespace {

TEST(SignalsDeathTest, TheSecondRemovesWhatIsTemporaryAndKills) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    Tarsel::Test::TempFolder const folder;
    auto const interruptTwice = [&] {
        StopOnSignals const signals;
        Core::TemporaryPath const file(folder / "file");
        Core::TemporaryPath const inner(folder / "inner");
        Tarsel::Test::WriteFile(file.Get(), "unfinished");
        std::filesystem::create_directory(inner.Get());
        Tarsel::Test::WriteFile(inner.Get() / "file", "unfinished");
        std::raise(SIGINT);
        std::raise(SIGTERM);
        std::this_thread::sleep_for(std::chrono::seconds(20));
    };
    EXPECT_EXIT(interruptTwice(), testing::KilledBySignal(SIGTERM), "");
    EXPECT_TRUE(folder.List().empty());
    auto const interruptAfterwards = [] {
        { StopOnSignals const signals; }
        std::raise(SIGTERM);
    };
    EXPECT_EXIT(interruptAfterwards(), testing::KilledBySignal(SIGTERM), "");
}

TEST(Signals, WhatTheParentIgnoredStaysIgnored) {
    auto const before = std::signal(SIGINT, SIG_IGN);
    {
        StopOnSignals const signals;
        std::raise(SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(signals.GetStop().stop_requested());
    }
    EXPECT_EQ(std::signal(SIGINT, before), SIG_IGN);
}

} // namespace
} // namespace Tarsel::Tools
