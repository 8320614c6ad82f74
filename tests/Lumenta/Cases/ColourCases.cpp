#include "Cases/Families.h"

#include "Proc/Effects/Lumenta/Video/Blur.h"
#include "Proc/Effects/Lumenta/Video/Colour.h"

namespace Tarsel::Test {
namespace {

using Balance = Proc::SettingsEffectBalanceChroma;
using Blur = Proc::SettingsEffectBlur;
using Mixer = Proc::SettingsEffectColorChannelMixer;

EffectCase BalanceChroma(int redShadows, int greenMidtones, int blueHighlights, char const* text) {
    Balance settings;
    settings.redShadows = redShadows;
    settings.greenMidtones = greenMidtones;
    settings.blueHighlights = blueHighlights;
    return {"SettingsEffectBalanceChroma",
            Proc::CreateEffectBalanceChroma,
            MakeSettings<Balance>(settings),
            text,
            false,
            settings == Balance()};
}

EffectCase ChannelMixer(double redInRed, double greenInRed, double alphaInAlpha, char const* text) {
    Mixer settings;
    settings.gains[0] = redInRed;
    settings.gains[1] = greenInRed;
    settings.gains[15] = alphaInAlpha;
    return {"SettingsEffectColorChannelMixer",
            Proc::CreateEffectColorChannelMixer,
            MakeSettings<Mixer>(settings),
            text,
            false,
            settings == Mixer()};
}

EffectCase GaussianBlur(Blur::RelativeMode mode, double sigma, double sigmaV, int steps, Conf::PixFmt format,
                        char const* text) {
    Blur settings;
    settings.relativeMode = mode;
    settings.horizontalSigma = sigma;
    settings.verticalSigma = sigmaV;
    settings.steps = steps;
    settings.pixelFormat = format;
    bool const isEmpty = sigma == 0.0 && sigmaV == 0.0 && format == Conf::PixFmt::None;
    return {"SettingsEffectBlur", Proc::CreateEffectBlur, MakeSettings<Blur>(settings), text, false, isEmpty};
}

} // namespace

std::vector<EffectCase> GetColourCases() {
    using Mode = Blur::RelativeMode;
    constexpr auto none = Conf::PixFmt::None;
    return {
        BalanceChroma(0, 0, 0, "colorbalance="),
        BalanceChroma(0, 50, 0, "colorbalance=gm=0.5:"),
        BalanceChroma(25, 0, -10, "colorbalance=rs=0.25:bh=-0.1:"),
        ChannelMixer(1, 0, 1, "colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:1"),
        ChannelMixer(0.5, 0.25, 1, "colorchannelmixer=0.5:0.25:0:0:0:1:0:0:0:0:1:0:0:0:0:1"),
        ChannelMixer(1, 0, 0.5, "colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:0.5"),
        GaussianBlur(Mode::Absolute, 0, 0, 1, none, "gblur=steps=1:planes=15:sigma=0:sigmaV=0"),
        GaussianBlur(Mode::Absolute, 2, 0.5, 2, none, "gblur=steps=2:planes=15:sigma=2:sigmaV=0.5"),
        GaussianBlur(Mode::PerAxis, 10, 10, 1, none, "gblur=steps=1:planes=15:sigma=6.4:sigmaV=4.8"),
        GaussianBlur(Mode::LongerSide, 10, 5, 1, none, "gblur=steps=1:planes=15:sigma=6.4:sigmaV=3.2"),
        GaussianBlur(Mode::ShorterSide, 10, 5, 1, none, "gblur=steps=1:planes=15:sigma=4.8:sigmaV=2.4"),
        GaussianBlur(Mode::Absolute, 1, 1, 1, Conf::PixFmt::YUV444P,
                     "format=yuv444p[s];[s]gblur=steps=1:planes=15:sigma=1:sigmaV=1"),
    };
}

} // namespace Tarsel::Test
