#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/ColorBalanceFF.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::IDataVideo;

TEST(ColorBalance, KeepsAlphaOfEveryFormat) {
    auto const converter = MakeEffect("pixel-format", "formats=yuva420p|yuva422p|yuva444p:alpha=1");
    for (char const* const options : {"contrast=50", "hue=60", "contrast=-50:hue=60"}) {
        auto const effect = MakeEffect("color-balance", options);
        for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
            if (!PixFmtDescription::Find(format).HasAlpha())
                continue;
            SCOPED_TRACE(NameOf(format));
            SP<IDataVideo> const frame = MakeFrame(format, {63, 47, 4, 3}, 7);
            SP<IDataVideo> const converted = Apply(*converter, frame);
            SP<IDataVideo> const data = Apply(*effect, frame);
            EXPECT_EQ(data->GetPixelFormat(), converted->GetPixelFormat());
            Pixels const expected = GetPixels(*converted);
            Pixels const result = GetPixels(*data);
            EXPECT_EQ(result.at(3), expected.at(3));
            EXPECT_EQ(result.at(0) == expected.at(0), *options == 'h');

            // A format without alpha before and after.
            FrameList const streamed = RunStream(*effect, {MakeFrame(), frame, MakeFrame(PixFmt::YUV444P)});
            ASSERT_EQ(streamed.size(), 3U);
            EXPECT_EQ(GetPixels(*streamed[1]), result);

            auto const codec = Ask(*effect, format, {63, 47, 4, 3});
            EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
        }
    }
}

/// Alpha makes no difference to what lies beside it.
TEST(ColorBalance, TreatsColorWithAlphaAsWithout) {
    auto const effect = MakeEffect("color-balance", "contrast=50:hue=60");
    SP<IDataVideo> const plain = MakeFrame(PixFmt::YUV422P);
    SP<IDataVideo> const withAlpha = MakeFrame(PixFmt::YUVA422P);
    for (int plane = 0; plane < 3; ++plane)
        CopyPlane(plain->GetReadOnlyPlane(plane), withAlpha->GetWritablePlane(plane));
    Pixels expected = GetPixels(*Apply(*effect, plain));
    expected.push_back(GetPixels(*withAlpha).at(3));
    EXPECT_EQ(GetPixels(*Apply(*effect, withAlpha)), expected);
}

TEST(ColorBalance, NeedsAFactoryForAlphaOnly) {
    auto const effect = Proc::ColorBalanceFF::Create({}, {});
    effect->SetSettings(*MakeSettings("color-balance", "contrast=50"));
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
