#include "Tarsel/Tool.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <set>

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;

class PaletteTool : public Tool {
protected:
    static constexpr std::size_t s_frame = std::size_t{64} * 48 * 3;

    std::string MakePhoto() const {
        return MakeFilm("photo.png",
                        {"-f", "lavfi", "-i", "mandelbrot=size=64x48:maxiter=200", "-frames:v", "1"});
    }

    /// All pictures as packed RGB.
    static std::string ReadPixels(std::string const& file) {
        return RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-fps_mode", "passthrough",
                             "-pix_fmt", "rgb24", "-f", "rawvideo", "-"});
    }

    static std::size_t CountColours(std::string const& pixels) {
        std::set<std::string> colours;
        for (std::size_t i = 0; i + 3 <= pixels.size(); i += 3)
            colours.insert(pixels.substr(i, 3));
        return colours.size();
    }

    /// Mean difference of components.
    static double Compare(std::string const& a, std::string const& b) {
        EXPECT_EQ(a.size(), b.size());
        double sum = 0;
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
            sum += std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]));
        return sum / static_cast<double>(a.size());
    }

    static std::string ProbeFormat(std::string const& file) {
        return RunForOutput({"ffprobe", "-v", "error", "-show_entries", "stream=pix_fmt", "-of",
                             "default=noprint_wrappers=1:nokey=1", file});
    }
};

TEST_F(PaletteTool, ReducesAPicture) {
    auto const photo = MakePhoto();
    auto const before = ReadPixels(photo);
    ASSERT_GT(CountColours(before), 255U);
    double worse = 0;
    for (int const colours : {255, 32, 4}) {
        auto const out = At(std::to_string(colours) + ".png");
        auto const result = Run({"palette", photo, out, "--colours", std::to_string(colours)});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(ProbeFormat(out), "pal8\n");
        auto const after = ReadPixels(out);
        EXPECT_LE(CountColours(after), static_cast<std::size_t>(colours));
        EXPECT_GT(CountColours(after), static_cast<std::size_t>(colours) / 2);
        double const difference = Compare(before, after);
        EXPECT_GT(difference, worse);
        EXPECT_LT(difference, 40);
        worse = difference;
    }
}

TEST_F(PaletteTool, RawPicturesCanBeReadAgain) {
    std::string const photo = MakePhoto();
    std::string const film = MakeFilm("photo.nut", {"-i", photo, "-c:v", "rawvideo"});
    std::string const pixels = ReadPixels(photo);
    for (char const* const name : {"raw.avi", "raw.mov", "raw.mkv", "raw.nut"})
        for (char const* const format : {"bgr24", "rgb24", "yuv444p"}) {
            SCOPED_TRACE(std::string(name) + ' ' + format);
            ASSERT_EQ(Run({"run", film, At(name), "--overwrite", "--video-codec", "rawvideo", "-e",
                           std::string("pixel-format formats=") + format})
                          .exitCode,
                      0);
            EXPECT_LT(Compare(ReadPixels(At(name)), pixels), 15); // chroma may be halved
        }
    for (char const* const name : {"few.avi", "few.mkv", "few.nut"}) {
        ASSERT_EQ(Run({"palette", film, At(name), "--video-codec", "rawvideo"}).exitCode, 0);
        EXPECT_LT(Compare(ReadPixels(At(name)), pixels), 4) << name;
    }
}

TEST_F(PaletteTool, DithersOnRequest) {
    auto const ramp = MakeFilm("ramp.png", {"-f", "lavfi", "-i",
                                            "nullsrc=size=64x48,geq=r='4*X':g='4*X':b='4*X',format=rgb24",
                                            "-frames:v", "1"});
    // Of the ramp's eight stripes, the mean comes near to the original's only by dithering.
    auto const measure = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"palette", ramp, At("out.png"), "--overwrite", "--colors", "4"});
        EXPECT_EQ(Run(arguments).exitCode, 0);
        auto const shrink = [](std::string const& file) {
            return RunForOutput({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-vf",
                                 "format=rgb24,scale=8:1:flags=area", "-f", "rawvideo", "-"});
        };
        return Compare(shrink(ramp), shrink(At("out.png")));
    };
    EXPECT_LT(measure({"--dither"}) * 2, measure({}));
}

TEST_F(PaletteTool, ShowsTheBackgroundThroughAlpha) {
    auto const glass =
        MakeFilm("glass.png", {"-f", "lavfi", "-i", "color=red@0:size=64x48,format=rgba", "-frames:v", "1"});
    ASSERT_EQ(Run({"palette", glass, At("out.png"), "--background", "lime"}).exitCode, 0);
    EXPECT_EQ(ReadPixels(At("out.png")).substr(0, 3), std::string("\0\xFF\0", 3));
}

TEST_F(PaletteTool, MakesAnimationsOfFilms) {
    auto const film = MakeFilm(
        "film.mkv", {"-f", "lavfi", "-i", "mandelbrot=size=64x48:rate=10", "-t", "1", "-c:v", "ffv1"});
    auto const before = ReadPixels(film);
    ASSERT_EQ(before.size(), 10 * s_frame);
    // Any film becomes one with palettes of its own colours where the file holds only palettes.
    for (std::string const verb : {"palette", "run"}) {
        auto const out = At(verb + ".gif");
        auto const result = Run({verb, film, out});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        auto const after = ReadPixels(out);
        EXPECT_EQ(after.size(), before.size());
        EXPECT_LT(Compare(before, after), 4);
    }
}

TEST_F(PaletteTool, RefusesWhatHoldsNoPalettes) {
    auto const photo = MakePhoto();
    auto const jpeg = Run({"palette", photo, At("out.jpg")});
    EXPECT_EQ(jpeg.exitCode, 1);
    EXPECT_THAT(jpeg.err, HasSubstr("\"out.jpg\" cannot hold palettes"));
    auto const many = Run({"palette", photo, At("out.png"), "--colours", "256"});
    EXPECT_EQ(many.exitCode, 1);
    EXPECT_THAT(many.err, HasSubstr("\"256\" is no whole number, 1 to 255"));
    auto const trick = Run({"palette", photo, At("out.png"), "--background", "red:dither=1"});
    EXPECT_EQ(trick.exitCode, 1);
    EXPECT_THAT(trick.err, HasSubstr("red:dither=1"));
    EXPECT_THAT(ListFolder(), testing::ElementsAre("photo.png"));
}

} // namespace
} // namespace Tarsel::Tools
