#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/ColorBalanceFF.h"
#include "Proc/Settings/Format.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;
using Balance = Proc::SettingsEffectColorBalance;

SP<Proc::IOneInputEffectVideo> MakeBalance(SP<Proc::IEffectFactory const> const& factory = GetFactory(),
                                           int contrast = 50, int hue = 0) {
    Balance settings;
    settings.contrast = contrast;
    settings.hue = hue;
    auto effect = Proc::ColorBalanceFF::Create(factory, {});
    effect->SetSettings(static_cast<Proc::Settings const&>(settings));
    return effect;
}

Proc::SettingsPixelFormatConverter MakeConverterSettings() {
    Proc::SettingsPixelFormatConverter settings;
    settings.formats = {PixFmt::YUVA420P, PixFmt::YUVA422P, PixFmt::YUVA444P};
    settings.hasAlpha = true;
    return settings;
}

TEST(ColorBalance, KeepsAlphaOfEveryFormat) {
    auto const converter = MakeEffect(MakeConverterSettings());
    for (auto const& [contrast, hue] : {std::pair{50, 0}, {0, 60}, {-50, 60}}) {
        auto const effect = MakeBalance(GetFactory(), contrast, hue);
        for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
            if (!PixFmtDescription::Find(format).HasAlpha())
                continue;
            SCOPED_TRACE(NameOf(format));
            SP<IDataVideo> const frame = MakeFrame(format, {63, 47, 4, 3}, 7);
            Pixels const before = GetPixels(*frame);
            SP<IDataVideo> const converted = Apply(*converter, frame);
            SP<IDataVideo> const data = Apply(*effect, frame);
            EXPECT_EQ(GetPixels(*frame), before);
            EXPECT_EQ(data->GetPixelFormat(), converted->GetPixelFormat());
            EXPECT_EQ(data->GetFrameInfo(), frame->GetFrameInfo());
            EXPECT_EQ(data->GetTime(), 7);
            Pixels const expected = GetPixels(*converted);
            Pixels const result = GetPixels(*data);
            EXPECT_EQ(result.at(3), expected.at(3));
            EXPECT_EQ(result.at(0) == expected.at(0), contrast == 0);

            // A format without alpha before and after.
            FrameList const streamed = RunStream(*effect, {MakeFrame(), frame, MakeFrame(PixFmt::YUV444P)});
            ASSERT_EQ(streamed.size(), 3U);
            EXPECT_EQ(GetPixels(*streamed[1]), result);

            auto const codec = Ask(*effect, format, {63, 47, 4, 3});
            EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
            EXPECT_EQ(codec->GetFrameInfo(), data->GetFrameInfo());
        }
    }
}

/// Alpha makes no difference to what lies beside it.
TEST(ColorBalance, TreatsColorWithAlphaAsWithout) {
    auto const effect = MakeBalance(GetFactory(), 50, 60);
    SP<IDataVideo> const plain = MakeFrame(PixFmt::YUV422P);
    SP<IDataVideo> const withAlpha = MakeFrame(PixFmt::YUVA422P);
    for (int plane = 0; plane < 3; ++plane)
        CopyPlane(plain->GetReadOnlyPlane(plane), withAlpha->GetWritablePlane(plane));
    Pixels expected = GetPixels(*Apply(*effect, plain));
    expected.push_back(GetPixels(*withAlpha).at(3));
    EXPECT_EQ(GetPixels(*Apply(*effect, withAlpha)), expected);
}

TEST(ColorBalance, NeedsAFactoryForAlphaOnly) {
    auto const effect = MakeBalance({});
    SP<IDataVideo> const plain = MakeFrame();
    SP<IDataVideo> data = plain;
    effect->Process(data);
    EXPECT_NE(data, plain);

    SP<IDataVideo> const frame = MakeFrame(PixFmt::YUVA420P);
    data = frame;
    SP<Conf::IFormatCodecVideo> codec = MakeCodec(PixFmt::YUVA420P);
    Failure const failure = Catch([&] { effect->Process(data); });
    EXPECT_EQ(failure.text, "Frames with alpha take the effect \"pixel-format\", and no effect "
                            "factory was given to make one");
    EXPECT_TRUE(failure.hasStack);
    EXPECT_EQ(data, frame);
    EXPECT_EQ(Catch([&] { effect->UpdateFormatCodec(codec); }).text, failure.text);
    EXPECT_EQ(Catch([&] { StreamOf(*effect).Feed(frame); }).text, failure.text);
}

} // namespace
} // namespace Tarsel::Test
