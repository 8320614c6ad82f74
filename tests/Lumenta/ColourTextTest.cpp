#include "Proc/Effects/Lumenta/Video/Blur.h"
#include "Proc/Effects/Lumenta/Video/Colour.h"
#include "TextCases.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarsel::Test {
namespace {

using Balance = Proc::SettingsEffectBalanceChroma;
using Blur = Proc::SettingsEffectBlur;
using Mixer = Proc::SettingsEffectColorChannelMixer;

constexpr Conf::FrameInfo s_wide{1920, 1080, 1, 1};
constexpr Conf::FrameInfo s_high{1080, 1920, 1, 1};

TextCase BlurText(int mode, double sigma, double sigmaV, Conf::FrameInfo const& info, char const* text) {
    return Text<Blur>(
        [=](Blur& blur) {
            blur.relativeMode = static_cast<Blur::RelativeMode>(mode);
            blur.horizontalSigma = sigma;
            blur.verticalSigma = sigmaV;
        },
        text, info);
}

TEST(ColourText, IsExact) {
    ExpectTexts({
        Text<Balance>([](Balance&) {}, "colorbalance="),
        Text<Balance>(
            [](Balance& balance) {
                balance.redShadows = 1;
                balance.greenShadows = 33;
                balance.blueShadows = -100;
                balance.redMidtones = 125;
                balance.greenMidtones = 99999;
                balance.blueMidtones = 5;
                balance.redHighlights = std::numeric_limits<std::int32_t>::min();
                balance.greenHighlights = 100;
                balance.blueHighlights = -7;
            },
            "colorbalance=rs=0.01:gs=0.33:bs=-1:rm=1.2:gm=1e+03:bm=0.05:rh=-2.1e+07:gh=1:bh=-0.07:"),

        Text<Mixer>([](Mixer&) {}, "colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:1"),
        Text<Mixer>(
            [](Mixer& mixer) {
                mixer.gains = {1 / 3.0, -2, 0.1, 1e-11, 1234567890.5, -0.0, 0.7, 0.8,
                               0.9,     10, 11,  12,    13,           14,   15,  16};
            },
            "colorchannelmixer=0.3333333333:-2:0.1:1e-11:1234567890:-0:0.7:0.8:0.9:10:11:12:13:14:15:16"),

        BlurText(0, 1.26, 0.004, s_wide, "gblur=steps=1:planes=15:sigma=1.3:sigmaV=0.004"),
        BlurText(0, 1024, -1, s_wide, "gblur=steps=1:planes=15:sigma=1e+03:sigmaV=-1"),
        BlurText(1, 1, 1, s_wide, "gblur=steps=1:planes=15:sigma=19:sigmaV=11"),
        BlurText(2, 1, 1, s_high, "gblur=steps=1:planes=15:sigma=19:sigmaV=19"),
        BlurText(3, 1, 1, s_wide, "gblur=steps=1:planes=15:sigma=11:sigmaV=11"),
        BlurText(3, 1, 0.5, s_high, "gblur=steps=1:planes=15:sigma=11:sigmaV=5.4"),
        BlurText(4, 1, 1, s_high, "gblur=steps=1:planes=15:sigma=11:sigmaV=19"),
        BlurText(-1, 1, -0.0, s_high, "gblur=steps=1:planes=15:sigma=11:sigmaV=0"),
        BlurText(1, 50, 50, {}, "gblur=steps=1:planes=15:sigma=0:sigmaV=0"),
        Text<Blur>(
            [](Blur& blur) {
                blur.relativeMode = Blur::RelativeMode::PerAxis;
                blur.horizontalSigma = blur.verticalSigma = 1;
                blur.horizontalFactor = 0.25;
                blur.verticalFactor = 0;
                blur.steps = 1234;
                blur.planes = -1;
                blur.pixelFormat = Conf::PixFmt::GRAY8;
            },
            "format=gray[s];[s]gblur=steps=1234:planes=-1:sigma=4.8:sigmaV=0", s_wide),
    });
}

} // namespace
} // namespace Tarsel::Test
