#include "Tarsel/Tool.h"

#include <cstdlib>
#include <set>

namespace Tarsel::Tools {
namespace {

using namespace std::string_literals;

class PaletteTool : public Tool {
protected:
    static void MakePhoto() {
        MakeFilm("photo.png", "-f lavfi -i mandelbrot=size=64x48:maxiter=200 -frames:v 1");
    }

    /// All pictures as packed RGB.
    static std::string ReadPixels(std::string const& file) {
        return Decode(file, "-fps_mode passthrough -pix_fmt rgb24 -f rawvideo");
    }

    static std::size_t CountColors(std::string const& pixels) {
        std::set<std::string> colors;
        for (std::size_t i = 0; i + 3 <= pixels.size(); i += 3)
            colors.insert(pixels.substr(i, 3));
        return colors.size();
    }

    /// Mean difference of components.
    static double Compare(std::string const& a, std::string const& b) {
        EXPECT_EQ(a.size(), b.size());
        double sum = 0;
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
            sum += std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]));
        return sum / static_cast<double>(a.size());
    }
};

TEST_F(PaletteTool, ReducesAPicture) {
    MakePhoto();
    auto const before = ReadPixels("photo.png");
    ASSERT_GT(CountColors(before), 255U);
    double worse = 0;
    for (std::size_t const colors : {255U, 32U, 4U}) {
        RunForNotes("palette photo.png out.png --overwrite --colors " + std::to_string(colors));
        EXPECT_EQ(Probe("out.png", "stream=pix_fmt"), "pal8");
        auto const after = ReadPixels("out.png");
        EXPECT_LE(CountColors(after), colors);
        EXPECT_GT(CountColors(after), colors / 2);
        double const difference = Compare(before, after);
        EXPECT_GT(difference, worse);
        EXPECT_LT(difference, 40);
        worse = difference;
    }
}

TEST_F(PaletteTool, RawPicturesCanBeReadAgain) {
    MakePhoto();
    MakeFilm("photo.nut", "-i photo.png -c:v rawvideo");
    std::string const pixels = ReadPixels("photo.png");
    std::string const options = " --overwrite --video-codec rawvideo";
    for (std::string const name : {"raw.avi", "raw.mov", "raw.mkv", "raw.nut"}) {
        for (std::string const format : {"bgr24", "rgb24", "yuv444p"}) {
            RunForNotes("run photo.nut " + name + options + " -e 'pixel-format formats=" + format + "'");
            EXPECT_LT(Compare(ReadPixels(name), pixels), 15) << name << format; // chroma may be halved
        }
        if (name == "raw.mov")
            continue; // takes no palettes
        RunForNotes("palette photo.nut " + name + options);
        EXPECT_LT(Compare(ReadPixels(name), pixels), 4) << name;
    }
}

TEST_F(PaletteTool, DithersOnRequest) {
    MakeFilm("ramp.png",
             "-f lavfi -i \"nullsrc=size=64x48,geq=r='4*X':g='4*X':b='4*X',format=rgb24\" -frames:v 1");
    // Of the ramp's eight stripes, the mean comes near to the original's only by dithering.
    auto const measure = [&](std::string const& options) {
        RunForNotes("palette ramp.png out.png --overwrite --colors 4 " + options);
        std::string const shrink = "-vf format=rgb24,scale=8:1:flags=area -f rawvideo";
        return Compare(Decode("ramp.png", shrink), Decode("out.png", shrink));
    };
    EXPECT_LT(measure("--dither") * 2, measure(""));
}

TEST_F(PaletteTool, ShowsTheBackgroundThroughAlpha) {
    MakeFilm("glass.png", "-f lavfi -i color=red@0:size=64x48,format=rgba -frames:v 1");
    RunForNotes("palette glass.png out.png --background lime");
    EXPECT_EQ(ReadPixels("out.png").substr(0, 3), std::string("\0\xFF\0", 3));
}

TEST_F(PaletteTool, ClearPixelsStayClear) {
    MakeFilm("disk.gif",
             "-f lavfi -i \"color=red:s=16x16:d=0.2,format=rgba,geq=r=255:g=0:b=0:a='255*gte(X,8)'\" "
             "-vf 'split[a][b];[a]palettegen[p];[b][p]paletteuse'");
    MakeFilm("full.png", "-f lavfi -i testsrc2=s=16x16 -frames:v 1 -pix_fmt rgba");
    MakeFilm("soft.png", "-f lavfi -i color=red@0.7:s=16x16,format=rgba -frames:v 1");
    auto const seen = [](std::string const& file) {
        return Decode(file, "-frames:v 1 -pix_fmt rgba -vf crop=16:1:0:0 -f rawvideo");
    };
    for (std::string const run : {"run disk.gif out.gif -e 'flip vertical'", "palette disk.gif out.gif"}) {
        EXPECT_EQ(RunForNotes(run + " --overwrite"), "") << run;
        EXPECT_EQ(seen("out.gif")[3], '\0') << run;
        EXPECT_EQ(seen("out.gif").substr(4 * 12, 4), "\xFF\0\0\xFF"s) << run;
    }
    EXPECT_EQ(RunForNotes("run full.png full.gif"), "");
    EXPECT_THAT(RunForNotes("run soft.png soft.gif"),
                testing::HasSubstr("Made translucent pixels clear or opaque"));
    EXPECT_EQ(seen("soft.gif").substr(0, 4), "\xFF\0\0\xFF"s);
}

TEST_F(PaletteTool, MakesAnimationsOfFilms) {
    TellLeaksApart();
    MakeFilm("film.mkv", "-f lavfi -i mandelbrot=size=64x48:rate=10 -t 1 -c:v ffv1");
    auto const before = ReadPixels("film.mkv");
    ASSERT_EQ(before.size(), std::size_t{10} * 64 * 48 * 3);
    // Any film becomes one with palettes of its own colors where the file holds only palettes.
    for (std::string const verb : {"palette", "run", "stabilize"}) {
        RunForNotes(verb + " film.mkv out.gif --overwrite");
        EXPECT_EQ(Probe("out.gif", "stream=nb_read_frames", "-count_frames"), "10");
        if (verb != "stabilize")
            EXPECT_LT(Compare(before, ReadPixels("out.gif")), 4) << verb;
        else // which moves them a little; colors of all films together would be 6 levels each
            EXPECT_GT(CountColors(ReadPixels("out.gif").substr(0, std::size_t{64} * 48 * 3)), 100U);
    }
}

} // namespace
} // namespace Tarsel::Tools
