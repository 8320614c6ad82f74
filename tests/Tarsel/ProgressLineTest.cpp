#include "Tools/Tarsel/ProgressLine.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarsel::Tools {
namespace {

constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

TEST(ProgressLine, DropsWhatDoesNotFit) {
    Media::RunProgress const progress{0.456, 120, 58.27, 72.4};
    struct Case {
        int columns;
        std::string line;
    };
    for (Case const& c : {
             Case{200, "[##################......................]   45%  120 frames  58.3 fps  1:12 left"},
             Case{60, "[########...........]   45%  120 frames  58.3 fps  1:12 left"},
             Case{51, "[####......]   45%  120 frames  58.3 fps  1:12 left"},
             Case{50, " 45%  120 frames  58.3 fps  1:12 left"},
             Case{37, " 45%  120 frames  58.3 fps  1:12 left"},
             Case{36, " 45%  58.3 fps  1:12 left"},
             Case{20, " 45%  1:12 left"},
             Case{10, " 45%"},
             Case{3, ""},
             Case{-1, ""},
         })
        EXPECT_EQ(RenderProgress(progress, c.columns), c.line) << c.columns;
}

TEST(ProgressLine, UnknownLengthHasNoBarAndNoPercent) {
    EXPECT_EQ(RenderProgress({-1, 7, 12, -1}, 80), "7 frames  12.0 fps");
    EXPECT_EQ(RenderProgress({s_nan, 7, 12, 30}, 80), "7 frames  12.0 fps");
    EXPECT_EQ(RenderProgress({-1, 7, 12, -1}, 10), "7 frames");
}

TEST(ProgressLine, SoundHasNoFrames) {
    EXPECT_EQ(RenderProgress({0.5, 0, 0, 10}, 35), "[########........]   50%  0:10 left");
    EXPECT_EQ(RenderProgress({0.5, 0, 0, 10, 61}, 60),
              "[#############.............]   50%  1:01 of audio  0:10 left");
    EXPECT_EQ(RenderProgress({-1, 0, 0, -1}, 80), "");
    EXPECT_EQ(RenderProgress({-1, 0, 0, -1, 5}, 80), "0:05 of audio");
}

TEST(ProgressLine, StaysInTheLineWhateverTheNumbers) {
    double const huge = std::numeric_limits<double>::max();
    for (double const done : {-1.0, 0.0, 0.999999, 1.0, 7.0, s_nan, huge})
        for (double const left : {-1.0, 0.0, 59.6, 1e8, huge, s_nan})
            for (int columns = 0; columns < 150; ++columns) {
                auto const line =
                    RenderProgress({done, std::numeric_limits<std::int64_t>::max(), 1e6, left}, columns);
                ASSERT_LE(line.size(), static_cast<std::size_t>(columns)) << line;
            }
    // All of it only when all is done.
    EXPECT_NE(RenderProgress({0.9999, 1, 1, 1}, 80).find(" 99%"), std::string::npos);
    EXPECT_EQ(RenderProgress({1, 1, 1, 0}, 80).find("[##"), 0U);
}

TEST(ProgressLine, Durations) {
    EXPECT_EQ(FormatDuration(0), "0:00");
    EXPECT_EQ(FormatDuration(59.6), "1:00");
    EXPECT_EQ(FormatDuration(3599), "59:59");
    EXPECT_EQ(FormatDuration(3600), "1:00:00");
    EXPECT_EQ(FormatDuration(360061), "100:01:01");
    for (double const none : {-0.1, s_nan, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(FormatDuration(none), "") << none;
}

} // namespace
} // namespace Tarsel::Tools
