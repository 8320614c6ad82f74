#include "Proc/Effects/Lumenta/Video/Stylise.h"
#include "TextCases.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace Tarsel::Test {
namespace {

using Border = Proc::SettingsEffectBorder;
using Edges = Proc::SettingsEffectEdgeDetect;
using Emboss = Proc::SettingsEffectEmboss;
using Negate = Proc::SettingsEffectNegateVideo;
using Posterize = Proc::SettingsEffectPosterize;

constexpr std::int32_t s_least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t s_most = std::numeric_limits<std::int32_t>::max();

TextCase EdgeText(double low, double high, int mode, char const* text) {
    return Text<Edges>(
        [=](Edges& edges) {
            edges.lowThreshold = low;
            edges.highThreshold = high;
            edges.mode = static_cast<Edges::Mode>(mode);
        },
        text);
}

TextCase EmbossText(std::int32_t x, std::int32_t y, std::string const& offsets) {
    return Text<Emboss>(
        [=](Emboss& emboss) {
            emboss.horizontalOffset = x;
            emboss.verticalOffset = y;
            emboss.keepColor = true;
        },
        "geq=lum_expr='(p(X,Y)+(256-p(" + offsets + ")))/2'");
}

TextCase NegateText(std::uint32_t channels, char const* text) {
    return Text<Negate>([=](Negate& negate) { negate.channels = channels; }, text);
}

TextCase PosterizeText(std::int32_t seed, std::int32_t colors, bool palette, char const* text) {
    return Text<Posterize>(
        [=](Posterize& posterize) {
            posterize.seed = seed;
            posterize.colorCount = colors;
            posterize.palette = palette;
            posterize.hostValue = 0.5F;
        },
        text);
}

TextCase FractionText(Border::SizeType type, double left, double right, double top, double bottom,
                      char const* text) {
    return Text<Border>(
        [=](Border& border) {
            border.sizeType = type;
            border.leftFraction = left;
            border.rightFraction = right;
            border.topFraction = top;
            border.bottomFraction = bottom;
            // The other group is not read.
            border.leftPixels = border.topPixels = 99;
        },
        text);
}

TEST(StyliseText, IsExact) {
    constexpr auto own = Border::SizeType::OwnSize;
    ExpectTexts({
        EdgeText(0.1, 0.4, 1, "edgedetect=low=0.1:high=0.4:mode=wires"),
        EdgeText(20 / 255.0, 50 / 255.0, 0, "edgedetect=low=0.078:high=0.2"),
        EdgeText(0.125, 12.5, 2, "edgedetect=low=0.12:high=12:mode=colormix"),
        EdgeText(-1, 1234567, 3, "edgedetect=low=-1:high=1.2e+06"),
        EdgeText(0, 0.00001, s_least, "edgedetect=low=0:high=1e-05"),
        EdgeText(std::numeric_limits<double>::infinity(), -0.0, -1, "edgedetect=low=inf:high=-0"),

        EmbossText(2, 1, "X+2,Y+1"),
        EmbossText(0, 0, "X-0,Y-0"),
        EmbossText(-1, 0, "X--1,Y-0"),
        EmbossText(s_most, s_least, "X+2147483647,Y--2147483648"),
        Text<Emboss>([](Emboss&) {}, "geq=lum_expr='(p(X,Y)+(256-p(X+1,Y+1)))/2',format=gray"),

        NegateText(0, "lutrgb=''"),
        NegateText(2, "lutrgb='g=negval:'"),
        NegateText(4, "lutrgb='b=negval:'"),
        NegateText(8, "lutrgb='a=negval:'"),
        NegateText(11, "lutrgb='r=negval:g=negval:a=negval:'"),
        NegateText(13, "lutrgb='r=negval:b=negval:a=negval:'"),
        NegateText(7, "lutrgb='r=negval:g=negval:b=negval:'"),
        NegateText(0xFFFFFFF7, "lutrgb='r=negval:g=negval:b=negval:'"),
        NegateText(15, "lutrgb='r=negval:g=negval:b=negval:a=negval'"),

        PosterizeText(1, 8, false, "elbg=seed=1:l=8:use_alpha=true"),
        PosterizeText(-1, 256, true, "elbg=seed=-1:l=256:pal8=1:use_alpha=true"),
        PosterizeText(s_most, s_least, false, "elbg=seed=2147483647:l=-2147483648:use_alpha=true"),

        Text<Border>(
            [](Border& border) {
                border.leftPixels = border.rightPixels = 10;
                border.topPixels = border.bottomPixels = 20;
            },
            "pad=iw+20:ih+40:10:20:color=#000000ff"),
        Text<Border>(
            [](Border& border) {
                border.leftPixels = border.rightPixels = 0x80000001; // the sum keeps 32 bits
                border.topPixels = 1000000;
                border.leftFraction = 0.5;
                border.color = {1, 0xAB, 0xFF, 0};
            },
            "pad=iw+2:ih+1000000:2147483649:1000000:color=#01abff00"),
        FractionText(own, 0.1, 0.1, 0.1, 0.1, "pad=iw*1.2:ih*1.2:iw*0.1:ih*0.1:color=#000000ff"),
        FractionText(own, 1 / 3.0, 1 / 3.0, 0, -0.5,
                     "pad=iw*1.666667:ih*0.5:iw*0.3333333:ih*0:color=#000000ff"),
        FractionText(Border::SizeType::Width, 1e7, 0, 1e-5, 0,
                     "pad=iw + iw*1e+07:ih + iw*1e-05:iw*1e+07:iw*1e-05:color=#000000ff"),
    });
}

TEST(StyliseText, EdgeModesHaveNamesOrNone) {
    for (auto const& [mode, text] :
         {std::pair{0, ""}, {1, ":mode=wires"}, {2, ":mode=colormix"}, {3, ""}, {-1, ""}}) {
        std::ostringstream stream;
        Proc::EdgeDetect::SetMode(static_cast<Edges::Mode>(mode), stream);
        EXPECT_EQ(stream.str(), text);
    }
}

} // namespace
} // namespace Tarsel::Test
