#include "Conf/PixFmtDescription.h"
#include "CustomDoubles.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/Effects/ColorBalanceFF.h"
#include "Proc/Settings/Format.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <stdexcept>

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
        auto& stream = StreamOf(*effect);
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

            stream.Feed(frame);
            SP<IDataVideo> const streamed = stream.Take();
            ASSERT_TRUE(streamed);
            EXPECT_EQ(GetPixels(*streamed), result);
            EXPECT_EQ(stream.Take(), nullptr);

            auto const codec = Ask(*effect, format, {63, 47, 4, 3});
            EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
            EXPECT_EQ(codec->GetFrameInfo(), data->GetFrameInfo());
        }
    }
}

/// Whatever the filters and the way back make of it.
TEST(ColorBalance, PutsAlphaBackAsItWas) {
    auto const idle = MakeSP<IdleEffect>();
    idle->work = [&](SP<IDataVideo>& data) {
        if (idle->calls == 2)
            data = MakeFrame(PixFmt::YUVA444P, s_small, 0, 40000, 2);
    };
    SP<IDataVideo> const frame = MakeFrame(PixFmt::YUVA444P);
    SP<IDataVideo> data = frame;
    MakeBalance(MakeSP<OneEffectFactory>(idle))->Process(data);
    Pixels expected = GetPixels(*MakeFrame(PixFmt::YUVA444P, s_small, 0, 40000, 2));
    expected.at(3) = GetPixels(*frame).at(3);
    EXPECT_EQ(GetPixels(*data), expected);
}

/// Alpha makes no difference to what lies beside it.
TEST(ColorBalance, TreatsColourWithAlphaAsWithout) {
    auto const effect = MakeBalance(GetFactory(), 50, 60);
    SP<IDataVideo> const plain = MakeFrame(PixFmt::YUV422P);
    SP<IDataVideo> const withAlpha = MakeFrame(PixFmt::YUVA422P);
    for (int plane = 0; plane < 3; ++plane)
        CopyPlane(plain->GetReadOnlyPlane(plane), withAlpha->GetWritablePlane(plane));
    Pixels expected = GetPixels(*Apply(*effect, plain));
    expected.push_back(GetPixels(*withAlpha).at(3));
    EXPECT_EQ(GetPixels(*Apply(*effect, withAlpha)), expected);
}

TEST(ColorBalance, AsksForAConverterOnce) {
    auto const idle = MakeSP<IdleEffect>();
    auto const factory = MakeSP<OneEffectFactory>(idle);
    auto const effect = MakeBalance(factory);
    EXPECT_EQ(factory->asked, std::vector<std::string>{"pixel-format default"});
    ASSERT_TRUE(idle->kept);
    EXPECT_TRUE(idle->kept->IsEqualTo(MakeConverterSettings()));

    for (auto const& [format, calls] : {std::pair{PixFmt::YUV420P, 0}, {PixFmt::YUVA420P, 2}}) {
        SP<IDataVideo> data = MakeFrame(format);
        effect->Process(data);
        EXPECT_EQ(idle->calls, calls);
    }
    effect->Reset();
    effect->SetSettings(static_cast<Proc::Settings const&>(Balance()));
    SP<IDataVideo> const frame = MakeFrame(PixFmt::RGBA);
    SP<IDataVideo> data = frame;
    effect->Process(data);
    EXPECT_EQ(data, frame) << "empty settings";
    EXPECT_EQ(idle->calls, 2);
}

TEST(ColorBalance, NamesWhatTheConverterDidWrong) {
    auto const idle = MakeSP<IdleEffect>();
    auto const effect = MakeBalance(MakeSP<OneEffectFactory>(idle));
    SP<IDataVideo> const frame = MakeFrame(PixFmt::RGBA);
    SP<IDataVideo> data = frame;
    Failure const failure = Catch<std::out_of_range>([&] { effect->Process(data); });
    EXPECT_EQ(failure.text, "map::at:  key not found");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/Effects/ColorBalanceFF");
    EXPECT_EQ(failure.detail, "the converter gave rgba");
    EXPECT_TRUE(failure.hasStack);
    EXPECT_EQ(data, frame);

    // What comes out of the filters becomes no format with alpha again.
    idle->work = [&](SP<IDataVideo>& each) {
        each = MakeFrame(idle->calls % 2 == 0 ? PixFmt::YUVA444P : PixFmt::YUV444P);
    };
    EXPECT_EQ(Catch<std::out_of_range>([&] { effect->Process(data); }).detail, "the converter gave yuv444p");
    EXPECT_EQ(data, frame);

    idle->kept = std::make_shared<Balance>();
    SP<Conf::IFormatCodecVideo> codec = MakeCodec(PixFmt::RGBA);
    EXPECT_THROW(effect->UpdateFormatCodec(codec), std::bad_cast);
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

TEST(ColorBalance, StreamsKeepTheirOrderThroughChangesOfFormat) {
    auto const effect = MakeBalance();
    auto& stream = StreamOf(*effect);
    std::vector<PixFmt> const formats{PixFmt::YUV420P, PixFmt::YUVA420P, PixFmt::YUVA420P,
                                      PixFmt::YUV420P, PixFmt::RGBA,     PixFmt::YUV444P};
    for (std::size_t i = 0; i < formats.size(); ++i)
        stream.Feed(MakeFrame(formats[i], s_small, static_cast<std::int64_t>(i)));
    stream.End();
    for (std::size_t i = 0; i < formats.size(); ++i) {
        SP<IDataVideo> const data = stream.Take();
        ASSERT_TRUE(data);
        EXPECT_EQ(data->GetTime(), static_cast<std::int64_t>(i));
        EXPECT_EQ(data->GetPixelFormat(), formats[i] == PixFmt::RGBA ? PixFmt::YUVA444P : formats[i]);
    }
    EXPECT_EQ(stream.Take(), nullptr);
    EXPECT_EQ(effect->GetStatistic()["Processed"].GetInt64(), 6);
    EXPECT_EQ(Catch([&] { stream.Feed({}); }).text, "A null frame cannot be fed");
}

} // namespace
} // namespace Tarsel::Test
