#include "Tarsel/Tool.h"

#include <algorithm>
#include <cstdlib>

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;

/// A film of 96x64, and parts of the pictures that show it.
class PreviewTool : public Tool {
protected:
    PreviewTool() {
        MakeFilm("film.mkv",
                 "-f lavfi -i testsrc2=s=96x64:r=25:d=1.2 -vf noise=alls=12:allf=t,format=yuv420p "
                 "-c:v ffv1");
    }

    static std::string Preview(std::string const& options) {
        return RunForNotes("preview film.mkv look.png --overwrite " + options);
    }
    /// Panel `index` of the last row, 96x64 of packed RGB.
    static std::string ReadPanel(int index) {
        return Decode("look.png", "-vf crop=96:64:" + std::to_string(4 + 100 * index) +
                                      ":in_h-68 -pix_fmt rgb24 -f rawvideo");
    }
    /// The frame at that time of what a run of the whole film makes.
    static std::string ReadRun(std::string const& effect, std::string const& time) {
        RunForNotes("run film.mkv whole.mkv --overwrite --video-codec ffv1 " + effect);
        RunForNotes("run whole.mkv frame.png --overwrite --at " + time);
        return Decode("frame.png", "-pix_fmt rgb24 -f rawvideo");
    }
};

TEST_F(PreviewTool, ShowsTheFrameOfARun) {
    for (std::string const effect :
         {"-e 'flip horizontal'", "-e denoise-chroma-luma",
          "-e 'deinterlace mode=send_field' -e 'flip vertical'", "-e 'blur sigma=0..8@0.5-1'",
          "-e negate@0.9-", "-e emboss@0.5-1.1~0.3 -e 'noise strength=20 seed=3'"}) {
        SCOPED_TRACE(effect);
        std::string const before = ReadRun("", "0.71");
        std::string const after = ReadRun(effect, "0.71");
        Preview("--style side --at 0.1 --at 0.71 " + effect);
        EXPECT_TRUE(ReadPanel(0) == before);
        EXPECT_TRUE(ReadPanel(1) == after);
    }
    EXPECT_EQ(Probe("look.png", "stream=width"), "204");
}

TEST_F(PreviewTool, ComparesWithinTheFrame) {
    std::string const before = ReadRun("", "0.5");
    std::string const after = ReadRun("-e 'blur sigma=1'", "0.5");
    auto const isLeft = [](std::size_t i) { return i / 3 % 96 < 46; };
    auto const isRight = [](std::size_t i) { return i / 3 % 96 > 49; };
    Preview("-e 'blur sigma=1' --at 0.5");
    std::string const split = ReadPanel(0);
    Preview("-e 'blur sigma=1' --at 0.5 --style difference");
    std::string const difference = ReadPanel(0);
    ASSERT_EQ(split.size(), before.size());
    ASSERT_EQ(difference.size(), before.size());
    auto const byte = [](char c) { return static_cast<int>(static_cast<unsigned char>(c)); };
    int largest = 0;
    for (std::size_t i = 0; i < before.size(); ++i)
        largest = std::max(largest, std::abs(byte(before[i]) - byte(after[i])));
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (isLeft(i) || isRight(i)) {
            ASSERT_EQ(split[i], isLeft(i) ? before[i] : after[i]) << i;
        }
        ASSERT_EQ(byte(difference[i]), std::abs(byte(before[i]) - byte(after[i])) * (255 / largest)) << i;
    }
    EXPECT_THAT(Preview("-e 'resize width=48 height=32'"), HasSubstr("shown beside one another"));
    EXPECT_EQ(Probe("look.png", "stream=width"), "156");
    Preview("-e negate --width 800");
    EXPECT_EQ(Probe("look.png", "stream=width"), "800");
}

TEST_F(PreviewTool, SweepsOverARange) {
    Preview("-e negate --sweep 'color-balance brightness=-10..30 contrast=5' --steps 3 --at 0.5");
    EXPECT_EQ(Probe("look.png", "stream=width"), "404");
    for (int i = 0; i < 3; ++i) {
        std::string const value = std::to_string(-10 + 20 * i);
        EXPECT_TRUE(ReadPanel(i + 1) ==
                    ReadRun("-e negate -e 'color-balance contrast=5 brightness=" + value + "'", "0.5"))
            << value;
    }
}

TEST_F(PreviewTool, ShowsAudioAsWaveformAndFrequencies) {
    MakeFilm("tone.wav", "-f lavfi -i sine=f=1000:r=48000:d=1");
    RunForNotes("preview tone.wav look.png -e 'equalizer bands=1000/-60' --width 412");
    // The middle column of each spectrogram, half of the picture being before and half after.
    std::string const column = Decode("look.png", "-vf crop=1:in_h:308:0,format=gray -f rawvideo");
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(column[i]); };
    std::size_t const half = column.size() / 2;
    std::size_t brightest = half - 242;
    for (std::size_t i = brightest; i < half - 2; ++i)
        brightest = byte(i) > byte(brightest) ? i : brightest;
    // Of 240 rows from 24 kHz to 40 Hz, each octave as high as another.
    EXPECT_NEAR(static_cast<double>(brightest - (half - 242)), 240 * 0.4968, 5);
    EXPECT_GT(byte(brightest), 170);
    EXPECT_LT(byte(brightest + half - 2), byte(brightest) - 60);
}

TEST_F(PreviewTool, RefusesWhatCannotBe) {
    MakeFilm("tone.wav", "-f lavfi -i sine=d=0.1");
    MakeFilm("still.png", "-f lavfi -i testsrc2=s=32x32 -frames:v 1");
    ExpectRefusals({
        {"preview film.mkv look.png", 1, "Add -e EFFECT: there is nothing to show"},
        {"preview film.mkv look.mp4 -e negate", 1,
         "Cannot write \"look.mp4\": choose the extension of an image, such as .png"},
        {"preview film.mkv still.png -e negate", 1, "Add --overwrite: \"still.png\" exists already"},
        {"preview film.mkv look.png -e negate --at 1.2", 1,
         "There is no frame at 1.2 s: \"film.mkv\" ends at 1.2 s"},
        {"preview still.png look.png -e negate --at 3", 1, "Remove --at: \"still.png\" is an image*"},
        {"preview tone.wav look.png -e reverb --at 1", 1, "Remove --at: audio is shown as a whole"},
        {"preview film.mkv look.png --sweep 'blur sigma=3'", 1,
         "--sweep \"blur sigma=3\": Give a range, such as \"blur sigma=0..30\""},
        {"preview film.mkv look.png --sweep 'blur sigma=0..3000'", 1, "--sweep \"blur sigma=0..3000\": *"},
        {"preview film.mkv look.png -e negate --steps 3", 1, "Add --sweep EFFECT: --steps needs it\n*"},
        {"preview tone.wav look.png -e negate", 2, "*"},
    });
}

} // namespace
} // namespace Tarsel::Tools
