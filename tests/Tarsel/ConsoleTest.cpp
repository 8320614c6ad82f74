#include "Core/TemporaryPath.h"
#include "Support/TempFolder.h"
#include "Tools/Tarsel/Console/ProgressLine.h"
#include "Tools/Tarsel/Console/Signals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <limits>
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

constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

TEST(ProgressLine, DropsWhatDoesNotFitOrIsNotKnown) {
    Media::RunProgress const progress{0.456, 120, 58.27, 72.4};
    struct {
        Media::RunProgress progress;
        int columns;
        char const* line;
    } const cases[] = {
        {progress, 200, "[##################......................]   45%  120 frames  58.3 fps  1:12 left"},
        {progress, 60, "[########...........]   45%  120 frames  58.3 fps  1:12 left"},
        {progress, 50, " 45%  120 frames  58.3 fps  1:12 left"},
        {progress, 36, " 45%  58.3 fps  1:12 left"},
        {progress, 20, " 45%  1:12 left"},
        {progress, 10, " 45%"},
        {progress, 3, ""},
        {progress, -1, ""},
        {{-1, 7, 12, -1}, 80, "7 frames  12.0 fps"},
        {{s_nan, 7, 12, 30}, 80, "7 frames  12.0 fps"},
        {{0.5, 0, 0, 10}, 35, "[########........]   50%  0:10 left"}, // audio has no frames
        {{0.5, 0, 0, 10, 61}, 60, "[#############.............]   50%  1:01 of audio  0:10 left"},
        {{0.5, 0, 0, 3599.6}, 20, " 50%  1:00:00 left"},
        {{-1, 0, 0, -1}, 80, ""},
        {{-1, 0, 0, -1, 5}, 80, "0:05 of audio"},
        {{0.9999, 1, 1, 1}, 30, " 99%  1.0 fps  0:01 left"}, // all of it only when all is done
    };
    for (auto const& [of, columns, line] : cases)
        EXPECT_EQ(RenderProgress(of, columns), line) << columns;

    double const huge = std::numeric_limits<double>::max();
    for (double const done : {-1.0, 0.0, 0.999999, 1.0, 7.0, s_nan, huge})
        for (double const left : {-1.0, 0.0, 59.6, 1e8, huge, s_nan})
            for (int columns = 0; columns < 150; ++columns)
                ASSERT_LE(RenderProgress({done, std::numeric_limits<std::int64_t>::max(), 1e6, left}, columns)
                              .size(),
                          static_cast<std::size_t>(columns));
}

} // namespace
} // namespace Tarsel::Tools
