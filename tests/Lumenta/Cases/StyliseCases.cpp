#include "Cases/Families.h"

#include "Proc/Effects/Lumenta/Video/Stylise.h"

namespace Tarsel::Test {
namespace {

using Border = Proc::SettingsEffectBorder;
using Edges = Proc::SettingsEffectEdgeDetect;
using Negate = Proc::SettingsEffectNegateVideo;
using SizeType = Border::SizeType;

EffectCase EdgeDetect(Edges::Mode mode, double low, double high, char const* text) {
    Edges settings;
    settings.mode = mode;
    settings.lowThreshold = low;
    settings.highThreshold = high;
    return {"SettingsEffectEdgeDetect", Proc::CreateEffectEdgeDetect, MakeSettings<Edges>(settings), text,
            false};
}

EffectCase Emboss(int x, int y, bool keepColor, char const* text) {
    Proc::SettingsEffectEmboss settings;
    settings.horizontalOffset = x;
    settings.verticalOffset = y;
    settings.keepColor = keepColor;
    return {"SettingsEffectEmboss", Proc::CreateEffectEmboss,
            MakeSettings<Proc::SettingsEffectEmboss>(settings), text, false};
}

EffectCase NegateVideo(std::uint32_t channels, char const* text) {
    Negate settings;
    settings.channels = channels;
    return {"SettingsEffectNegateVideo",
            Proc::CreateEffectNegateVideo,
            MakeSettings<Negate>(settings),
            text,
            false,
            channels == 0};
}

EffectCase Posterize(int colors, bool palette, char const* text) {
    Proc::SettingsEffectPosterize settings;
    settings.colorCount = colors;
    settings.palette = palette;
    settings.seed = 3;
    return {"SettingsEffectPosterize", Proc::CreateEffectPosterize,
            MakeSettings<Proc::SettingsEffectPosterize>(settings), text, false};
}

EffectCase InPixels(std::uint32_t left, std::uint32_t right, std::uint32_t top, std::uint32_t bottom,
                    char const* text) {
    Border settings;
    settings.leftPixels = left;
    settings.rightPixels = right;
    settings.topPixels = top;
    settings.bottomPixels = bottom;
    bool const isEmpty = left + right + top + bottom == 0;
    return {"SettingsEffectBorder",
            Proc::CreateEffectBorder,
            MakeSettings<Border>(settings),
            text,
            false,
            isEmpty};
}

EffectCase InFractions(SizeType type, char const* text) {
    Border settings;
    settings.sizeType = type;
    settings.leftFraction = 0.1;
    settings.rightFraction = 0.2;
    settings.topFraction = 0.25;
    settings.bottomFraction = 0.3;
    settings.color = {255, 128, 0, 10};
    return {"SettingsEffectBorder", Proc::CreateEffectBorder, MakeSettings<Border>(settings), text, false};
}

} // namespace

std::vector<EffectCase> GetStyliseCases() {
    return {
        EdgeDetect(Edges::Mode::Default, 0.1, 0.4, "edgedetect=low=0.1:high=0.4"),
        EdgeDetect(Edges::Mode::Wires, 0.05, 0.4, "edgedetect=low=0.05:high=0.4:mode=wires"),
        EdgeDetect(Edges::Mode::ColorMix, 0.1, 0.4, "edgedetect=low=0.1:high=0.4:mode=colormix"),
        Emboss(1, 1, false, "geq=lum_expr='(p(X,Y)+(256-p(X+1,Y+1)))/2',format=gray"),
        Emboss(-2, 0, true, "geq=lum_expr='(p(X,Y)+(256-p(X--2,Y-0)))/2'"),
        NegateVideo(0, "lutrgb=''"),
        NegateVideo(Negate::Red, "lutrgb='r=negval:'"),
        NegateVideo(Negate::Red | Negate::Green | Negate::Blue, "lutrgb='r=negval:g=negval:b=negval:'"),
        NegateVideo(15, "lutrgb='r=negval:g=negval:b=negval:a=negval'"),
        Posterize(8, false, "elbg=seed=3:l=8:use_alpha=true"),
        Posterize(8, true, "elbg=seed=3:l=8:pal8=1:use_alpha=true"),
        InPixels(0, 0, 0, 0, "pad=iw+0:ih+0:0:0:color=#000000ff"),
        InPixels(10, 5, 20, 1, "pad=iw+15:ih+21:10:20:color=#000000ff"),
        InFractions(SizeType::OwnSize, "pad=iw*1.3:ih*1.55:iw*0.1:ih*0.25:color=#ff80000a"),
        InFractions(SizeType::Width, "pad=iw + iw*0.3:ih + iw*0.55:iw*0.1:iw*0.25:color=#ff80000a"),
        InFractions(SizeType::Height, "pad=iw + ih*0.3:ih + ih*0.55:ih*0.1:ih*0.25:color=#ff80000a"),
        InFractions(SizeType::ShorterSide,
                    "pad=iw + 'min(iw, ih)'*0.3:ih + 'min(iw, ih)'*0.55:'min(iw, ih)'*0.1:"
                    "'min(iw, ih)'*0.25:color=#ff80000a"),
        InFractions(SizeType::LongerSide,
                    "pad=iw + 'max(iw, ih)'*0.3:ih + 'max(iw, ih)'*0.55:'max(iw, ih)'*0.1:"
                    "'max(iw, ih)'*0.25:color=#ff80000a"),
    };
}

} // namespace Tarsel::Test
