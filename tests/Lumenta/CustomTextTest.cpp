#include "Conf/FormatCodecVideo.h"
#include "CustomDoubles.h"
#include "Proc/Effects/Lumenta/ColorBalanceFF.h"
#include "Proc/Effects/Lumenta/RotateFF.h"
#include "Proc/Effects/Lumenta/SmartBlurFF.h"
#include "TextCases.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Balance = Proc::SettingsEffectColorBalance;
using Rotate = Proc::SettingsEffectRotate;
using Blur = Proc::SettingsEffectSmartBlur;
using Mode = Rotate::SizeMode;

/// What the effect writes for 1920x1080 frames of that format.
template <class Effect, class S>
TextCase TextOf(S const& settings, std::string text, Conf::PixFmt format = Conf::PixFmt::YUV420P) {
    return {[settings, format] {
                auto const effect = Effect::Create({}, {});
                effect->SetSettings(static_cast<Proc::Settings const&>(settings));
                Conf::FormatCodecVideo const codec(format, {1920, 1080, 1, 1});
                return dynamic_cast<Proc::IEffectDetailsVideo const&>(*effect).Describe(codec);
            },
            std::move(text)};
}

template <class Change>
TextCase BalanceText(Change const& change, std::string text) {
    return TextOf<Proc::ColorBalanceFF>(MakeChanged<Balance>(change), std::move(text));
}

TEST(CustomText, OfColourBalance) {
    ExpectTexts({
        BalanceText([](Balance&) {}, ""),
        BalanceText([](Balance& balance) { balance.gammaWeight = 50; }, ""),
        BalanceText([](Balance& balance) { balance.hue = 30; }, "hue=h=30"),
        BalanceText([](Balance& balance) { balance.hue = -12345; }, "hue=h=-12345"),
        BalanceText(
            [](Balance& balance) {
                balance.contrast = 20;
                balance.brightness = 10;
            },
            "eq=contrast=1.2:brightness=0.1"),
        BalanceText(
            [](Balance& balance) {
                balance.contrast = 20;
                balance.brightness = 10;
                balance.hue = 30;
            },
            "eq=contrast=1.2:brightness=0.1[s];[s]hue=h=30"),
        BalanceText([](Balance& balance) { balance.contrast = 25; }, "eq=contrast=1.2"),
        BalanceText([](Balance& balance) { balance.contrast = 14900; }, "eq=contrast=1.5e+02"),
        BalanceText([](Balance& balance) { balance.saturation = -50; }, "eq=contrast=1:saturation=0.5"),
        BalanceText([](Balance& balance) { balance.gamma = 30; }, "eq=contrast=1:gamma=2"),
        BalanceText([](Balance& balance) { balance.redGamma = -100; }, "eq=contrast=1:gamma_r=0.1"),
        BalanceText(
            [](Balance& balance) {
                balance.brightness = -33;
                balance.saturation = 25;
                balance.gamma = 100;
                balance.redGamma = 1;
                balance.greenGamma = 50;
                balance.blueGamma = -50;
                balance.gammaWeight = 12;
                balance.hue = 1;
            },
            "eq=contrast=1:brightness=-0.33:saturation=1.5:gamma=10:gamma_r=1:gamma_g=3.2:gamma_b=0.32:"
            "gamma_weight=0.12[s];[s]hue=h=1"),
    });
}

TextCase RotateText(double degrees, Mode mode, std::uint8_t alpha, Conf::PixFmt format, std::string text) {
    Rotate settings;
    settings.angle = degrees;
    settings.sizeMode = mode;
    settings.outputWidth = 3001;
    settings.outputHeight = 7;
    settings.fillColor = {0, 0, 0, alpha};
    return TextOf<Proc::RotateFF>(settings, std::move(text), format);
}

TEST(CustomText, OfRotation) {
    using Conf::PixFmt;
    std::vector<TextCase> rows{
        RotateText(0, Mode::Pad, 0, PixFmt::RGB24, ""),
        RotateText(30, Mode::Pad, 0, PixFmt::RGB24,
                   "format=rgba,rotate=angle=0.524:fillcolor=0x00000000:out_w=2204:out_h=1896"),
        RotateText(30, Mode::Pad, 255, PixFmt::RGB24,
                   "rotate=angle=0.524:fillcolor=0x000000ff:out_w=2204:out_h=1896"),
        RotateText(30, Mode::Crop, 255, PixFmt::YUV420P,
                   "rotate=angle=0.524:fillcolor=0x000000ff:out_w=1094:out_h=614"),
        RotateText(-30, Mode::Crop, 254, PixFmt::YUV420P,
                   "rotate=angle=-0.524:fillcolor=0x000000fe:out_w=1094:out_h=614"),
        RotateText(30, Mode::Keep, 255, PixFmt::YUV420P, "rotate=angle=0.524:fillcolor=0x000000ff"),
        RotateText(30, static_cast<Mode>(4), 255, PixFmt::YUV420P, "rotate=angle=0.524:fillcolor=0x000000ff"),
        RotateText(30, static_cast<Mode>(-1), 255, PixFmt::YUV420P,
                   "rotate=angle=0.524:fillcolor=0x000000ff"),
        RotateText(30, Mode::Given, 255, PixFmt::YUV420P,
                   "rotate=angle=0.524:fillcolor=0x000000ff:out_w=3001:out_h=7"),
        // Whole turns are taken out, and what is no quarter turn by a hair.
        RotateText(750, Mode::Keep, 255, PixFmt::GRAY8, "rotate=angle=0.524:fillcolor=0x000000ff"),
        RotateText(89.99999, Mode::Keep, 255, PixFmt::GRAY8, "rotate=angle=1.571:fillcolor=0x000000ff"),
        RotateText(-5000.5, Mode::Keep, 255, PixFmt::GRAY8, "rotate=angle=-5.594:fillcolor=0x000000ff"),
    };
    for (auto const& [format, name] : {std::pair{PixFmt::RGB24, "rgba"},
                                       {PixFmt::BGR24, "bgra"},
                                       {PixFmt::ARGB, "argb"},
                                       {PixFmt::RGBA, "rgba"},
                                       {PixFmt::ABGR, "abgr"},
                                       {PixFmt::BGRA, "bgra"},
                                       {PixFmt::RGBZ, "rgba"},
                                       {PixFmt::BGRZ, "bgra"},
                                       {PixFmt::ZRGB, "bgra"},
                                       {PixFmt::YUVA420P, "bgra"},
                                       {PixFmt::GRAY8, "bgra"}})
        rows.push_back(
            RotateText(30, Mode::Keep, 16, format,
                       std::string("format=") + name + ",rotate=angle=0.524:fillcolor=0x00000010"));
    Rotate bilinear;
    bilinear.angle = 1;
    bilinear.bilinear = true;
    bilinear.fillColor = {0xFF, 0x0A, 0xB0, 0xFF};
    rows.push_back(TextOf<Proc::RotateFF>(bilinear, "rotate=angle=0.017:fillcolor=0xff0ab0ff:bilinear=1"));
    bilinear.sizeMode = Mode::Pad;
    rows.push_back(TextOf<Proc::RotateFF>(
        bilinear, "rotate=angle=0.017:fillcolor=0xff0ab0ff:bilinear=1:out_w=1940:out_h=1114"));
    ExpectTexts(rows);
}

template <class Change>
TextCase BlurText(Change const& change, std::string text) {
    return TextOf<Proc::SmartBlurFF>(MakeChanged<Blur>(change), std::move(text));
}

TEST(CustomText, OfSmartBlur) {
    ExpectTexts({
        BlurText([](Blur&) {}, ""),
        BlurText(
            [](Blur& blur) {
                blur.lumaRadius = 50;
                blur.chromaRadius = 1;
                blur.chromaThreshold = 100;
                blur.lumaStrength = 100;
            },
            "smartblur=lr=2.5:cr=0.1:lt=0:ct=30:ls=1:cs=0"),
        BlurText(
            [](Blur& blur) {
                blur.lumaRadius = 100;
                blur.lumaThreshold = -100;
                blur.chromaThreshold = 1;
                blur.chromaStrength = -33;
            },
            "smartblur=lr=5:cr=1:lt=-30:ct=0:ls=0:cs=-0.33"),
        BlurText(
            [](Blur& blur) {
                blur.lumaThreshold = -1;
                blur.chromaThreshold = -99;
                blur.lumaStrength = -100;
                blur.lumaStrengthOffset = 100;
            },
            "smartblur=lr=1:cr=1:lt=-1:ct=-30:ls=-2:cs=0"),
        BlurText([](Blur& blur) { blur.lumaStrength = blur.lumaStrengthOffset = 50; }, ""),
        // Beyond the legal range it goes on in a straight line, as far as numbers go.
        BlurText(
            [](Blur& blur) {
                blur.lumaRadius = 123456;
                blur.lumaThreshold = 2147483647;
                blur.chromaThreshold = -2147483647 - 1;
                blur.lumaStrength = 2147483647;
                blur.lumaStrengthOffset = -2147483647 - 1;
            },
            "smartblur=lr=6.1e+03:cr=1:lt=644245094:ct=-644245094:ls=4.3e+07:cs=0"),
    });
}

} // namespace
} // namespace Tarsel::Test
