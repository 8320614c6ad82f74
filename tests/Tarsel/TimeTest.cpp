#include "Tarsel/Tool.h"
#include "Tools/Tarsel/Work/TimeReport.h"

#include <nlohmann/json.hpp>

namespace Tarsel::Tools {
namespace {

using nlohmann::json;
using TimeTool = Tool;

TEST_F(TimeTool, EachStepIsMeasuredWithTheFramesThatWentThroughIt) {
    TellLeaksApart();
    MakeSmallFilm();
    // Two steps that work on several frames at a time, and one between them that does not and takes other
    // frames.
    for (char const* const threads : {"1", "4"}) {
        auto const result = Run("bench film.mp4 -e 'blur sigma=2' -e emboss -e 'pixel-format formats=rgb24' "
                                "-e 'stabilizer detect=1 path=m.trf' -e negate --json --threads " +
                                std::string(threads));
        ASSERT_EQ(result.exitCode, 0) << result.err;
        json const report = json::parse(result.out);
        EXPECT_EQ(report.at("frames"), 50);
        ASSERT_EQ(report.at("steps").size(), 5U);
        double sum = report.at("reading");
        for (json const& step : report.at("steps")) {
            EXPECT_EQ(step.at("count"), 50) << step;
            EXPECT_GT(step.at("work"), 0) << step;
            EXPECT_EQ(step.at("converted"), step.at("label") == "step 4 (stabilizer)" ? 100 : 0) << step;
            sum += step.at("work").get<double>() + step.at("conversion").get<double>();
        }
        // One thread does one thing at a time.
        EXPECT_TRUE(report.at("threads") != 1 || sum <= report.at("wall").get<double>()) << report;
        EXPECT_GE(report.at("peakMemory"), 1 << 20);
        EXPECT_EQ(report.contains("serialShare"), report.at("threads") != 1);
    }
    auto const run = Run("run film.mp4 out.mkv -e 'blur sigma=2' --time");
    EXPECT_THAT(run.out,
                testing::ContainsRegex("reading +[0-9.]+ +[0-9]+ %\nstep 1 \\(blur\\) +[0-9.]+ +[0-9]+ "
                                       "%\nencoding and writing +[0-9.]+ +[0-9]+ %\n50 frames in "))
        << run.err;
    ExpectRefusals({{"bench film.mp4 -e echo", 1,
                     "Remove step 1 (echo): bench measures effects on video; for audio, give run --time"}});
}

TEST(TimeReport, SerialShareIsThatOfAmdahlsLaw) {
    auto const find = [](double share, int threads) {
        constexpr double work = 8;
        TimeReport report{1, {}, {}, {}, threads, false};
        report.times.processor = work;
        report.times.wall = work * (share + (1 - share) / threads);
        return FindSerialShare(report);
    };
    EXPECT_FALSE(find(0.5, 1));
    for (double const share : {0.0, 0.25, 1.0})
        for (int const threads : {2, 8})
            EXPECT_NEAR(find(share, threads).value(), share, 1e-9) << threads;
}

} // namespace
} // namespace Tarsel::Tools
