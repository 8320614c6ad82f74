#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int s_width = 192;
constexpr int s_height = 144;
constexpr int s_frames = 40;
/// Pixels of the walk between two frames, at most, in each direction.
constexpr int s_step = 4;

class StabilizeTool : public Tool {
protected:
    StabilizeTool() {
        setenv("TMPDIR", At(".").c_str(), 1); // the motions lie where the tests look
        // The address sanitizer knows whose leak one is in libraries without frame pointers only so.
        if (char const* const options = std::getenv("ASAN_OPTIONS"))
            setenv("ASAN_OPTIONS", (std::string(options) + ":fast_unwind_on_malloc=0").c_str(), 1);
    }
    ~StabilizeTool() override { unsetenv("TMPDIR"); }

    /// A picture with detail at every place, seen by a camera that is moved by chance.
    std::string MakeShakyFilm(std::string const& name, std::vector<std::string> const& encoding) const {
        constexpr int size = 512;
        auto const picture = RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                                           "mandelbrot=size=512x512:start_scale=0.02,format=gray",
                                           "-frames:v", "1", "-f", "rawvideo", "-"});
        EXPECT_EQ(picture.size(), std::size_t{size * size});
        std::mt19937 random(7);
        int x = size / 2 - s_width / 2;
        int y = size / 2 - s_height / 2;
        std::string pixels;
        for (int frame = 0; frame < s_frames; ++frame) {
            for (int row = 0; row < s_height; ++row)
                pixels.append(picture, static_cast<std::size_t>((y + row) * size + x), s_width);
            x = std::clamp(x + static_cast<int>(random() % (2 * s_step + 1)) - s_step, 0, size - s_width);
            y = std::clamp(y + static_cast<int>(random() % (2 * s_step + 1)) - s_step, 0, size - s_height);
        }
        auto const raw = MakeFile("shaky.raw", pixels);
        std::vector<std::string> arguments{
            "-f",   "rawvideo", "-pix_fmt",
            "gray", "-s",       std::to_string(s_width) + 'x' + std::to_string(s_height),
            "-i",   raw};
        arguments.insert(arguments.end(), encoding.begin(), encoding.end());
        return MakeFilm(name, arguments);
    }

    /// How far the middle of the picture moves from each frame to the next, in pixels, on average.
    static double MeasureMotion(std::string const& film) {
        auto const pixels = RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-i", film, "-vf",
                                          "crop=192:144:0:0,format=gray", "-f", "rawvideo", "-"});
        constexpr std::size_t frame = std::size_t{s_width} * s_height;
        EXPECT_EQ(pixels.size(), frame * s_frames);
        double sum = 0;
        for (std::size_t i = frame; i < pixels.size(); i += frame) {
            auto const [x, y] = FindShift(pixels.data() + i - frame, pixels.data() + i);
            sum += std::hypot(x, y);
        }
        return sum / (s_frames - 1);
    }

private:
    /// The shift under which the middles of two frames differ least.
    static std::pair<int, int> FindShift(char const* before, char const* after) {
        constexpr int margin = 40;
        std::pair<int, int> best;
        int least = INT_MAX;
        for (int dy = -6; dy <= 6; ++dy)
            for (int dx = -6; dx <= 6; ++dx) {
                int difference = 0;
                for (int y = margin; y < s_height - margin; ++y)
                    for (int x = margin; x < s_width - margin; ++x)
                        difference +=
                            std::abs(static_cast<std::uint8_t>(after[y * s_width + x]) -
                                     static_cast<std::uint8_t>(before[(y + dy) * s_width + x + dx]));
                if (difference < least) {
                    least = difference;
                    best = {dx, dy};
                }
            }
        return best;
    }
};

TEST_F(StabilizeTool, MakesAFilmSteadierAndLeavesNothingElse) {
    auto const shaky = MakeShakyFilm("shaky.mkv", {"-c:v", "libx264", "-qp", "10", "-pix_fmt", "yuv420p"});
    auto const result =
        Run({"stabilize", shaky, At("steady.mkv"), "smoothing=10", "--video-option", "crf=10"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(ListFolder(), ElementsAre("shaky.mkv", "shaky.raw", "steady.mkv"));
    double const before = MeasureMotion(shaky);
    double const after = MeasureMotion(At("steady.mkv"));
    EXPECT_GT(before, 2.5);
    EXPECT_LT(after, before / 3);
}

TEST_F(StabilizeTool, WorksOnPicturesThatTheEffectDoesNotTake) {
    struct Case {
        char const* name;
        std::vector<std::string> encoding;
        char const* size;
    };
    for (Case const& each : {Case{"rgb.mkv", {"-c:v", "ffv1", "-pix_fmt", "bgr0"}, "192,144,bgr0"},
                             Case{"odd.mkv",
                                  {"-vf", "crop=191:143:0:0:exact=1,format=yuv444p", "-c:v", "ffv1"},
                                  "191,143,yuv444p"}}) {
        SCOPED_TRACE(each.name);
        auto const shaky = MakeShakyFilm(each.name, each.encoding);
        auto const result =
            Run({"stabilize", shaky, At("steady.mkv"), "--overwrite", "--video-codec", "ffv1"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_THAT(result.err, HasSubstr("tarsel: note: step 1 (stabilizer) works on frames of "));
        EXPECT_EQ(
            RunForOutput({"ffprobe", "-v", "error", "-count_frames", "-show_entries",
                          "stream=width,height,pix_fmt,nb_read_frames", "-of", "csv=p=0", At("steady.mkv")}),
            std::string(each.size) + ",40\n");
    }
}

TEST_F(StabilizeTool, InterruptedInEitherPassLeavesNothing) {
    auto const film =
        MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=640x480:rate=100:duration=4", "-pix_fmt",
                              "yuv420p", "-c:v", "libx264", "-preset", "ultrafast"});
    // The first pass has a folder for the motions, the second one an unfinished output too.
    for (std::size_t const files : {2U, 3U}) {
        int const signal = files == 2 ? SIGHUP : SIGINT;
        auto const result = Interrupt({"stabilize", film, At("out.mp4"), "accuracy=5", "--video-codec",
                                       "libx264", "--video-option", "preset=placebo"},
                                      files, signal);
        EXPECT_EQ(result.exitCode, 128 + signal);
        EXPECT_THAT(ListFolder(), ElementsAre("film.mp4"));
    }
}

TEST_F(StabilizeTool, ExplainingLeavesTheFileOfMotionsAlone) {
    auto const motions = MakeFile("motions.trf", "precious");
    for (char const* const frame : {"64x48:yuv420p", "63x47:rgb24", "64x48:yuvj444p"}) {
        auto const result =
            Run({"explain", "-e", "stabilizer enabled=1 path=" + motions, "--frame", frame, "--json"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_THAT(result.out, HasSubstr("result=" + motions));
    }
    EXPECT_EQ(ReadFile(motions), "precious");
}

TEST_F(StabilizeTool, SaysWhatIsWrongBeforeTheFirstPass) {
    auto const film = MakeSmallFilm();
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string error;
    };
    for (Case const& each : {
             Case{{film, At("out.mkv"), "path=/x"},
                  1,
                  "\"path=/x\" cannot be set: stabilize does both passes by itself"},
             Case{{film, At("out.mkv"), "shakiness=11"},
                  1,
                  "stabilizer: shakiness=11 is out of range: 1 to 10"},
             Case{{film, film}, 1, ""},
             Case{{At("missing.mkv"), At("out.mkv")}, 2, ""},
         }) {
        std::vector<std::string> arguments{"stabilize"};
        arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
        auto const result = Run(arguments);
        EXPECT_EQ(result.exitCode, each.exitCode) << result.err;
        if (!each.error.empty()) {
            EXPECT_EQ(result.err, "tarsel: error: " + each.error + "\n");
        }
    }
    EXPECT_THAT(ListFolder(), ElementsAre("film.mp4"));
}

} // namespace
} // namespace Tarsel::Tools
