#include "Proc/Effects/Lumenta/Video/Stylise.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Refusals.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;
using Border = Proc::SettingsEffectBorder;

TEST(Stylise, UnknownBorderTypesAreNamed) {
    for (std::uint32_t type : {6U, 0xFFFFFFFFU}) {
        Border settings;
        settings.sizeType = static_cast<Border::SizeType>(type);
        auto const effect = Proc::CreateEffectBorder({}, {});
        effect->SetSettings(settings);
        SP<IDataVideo> data = MakeFrame();
        for (Failure const& failure : {Catch<std::logic_error>([&] { effect->GetStatistic(); }),
                                       Catch<std::logic_error>([&] { effect->Process(data); })}) {
            EXPECT_EQ(failure.text, "Unreal Logic");
            EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
            EXPECT_EQ(failure.function,
                      "static std::string EffectActions<Tarsel::Proc::SettingsEffectBorder>::GetFFString("
                      "const SettingsEffectBorder &, const FrameInfo &) "
                      "[Settings = Tarsel::Proc::SettingsEffectBorder]");
            EXPECT_EQ(failure.detail, "size type " + std::to_string(type) + ", not 0 to 5");
            EXPECT_TRUE(failure.hasStack);
        }
    }
}

TEST(Stylise, EdgesNeedTwoColumnsAndFourRows) {
    auto const effect = Proc::CreateEffectEdgeDetect({}, {});
    ExpectSizes(*effect,
                "static void EffectActions<Tarsel::Proc::SettingsEffectEdgeDetect>::CheckFormat("
                "const SettingsType &, PixFmt, const FrameInfo &)",
                {{"gray", 1, 64, "edge-detect takes gray frames of 2x4 pixels at least, not of 1x64"},
                 {"gray", 2, 4, ""},
                 {"yuv420p", 64, 3, "edge-detect takes yuv420p frames of 2x4 pixels at least, not of 64x3"},
                 {"rgba", 64, 4, ""}});
}

using Colors = std::vector<Conf::PixColor>;

/// Of a frame in "rgba".
Colors GetColors(IDataVideo const& data) {
    auto const bytes = GetPixels(data).at(0);
    Colors colors;
    for (std::size_t i = 0; i < bytes.size(); i += 4)
        colors.push_back({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
    return colors;
}

/// Of a frame with a palette: words of alpha, red, green, blue from the highest byte on.
Colors GetPaletteColors(IDataVideo const& data) {
    auto const indices = GetPixels(data).at(0);
    Colors colors;
    for (std::uint8_t const index : indices) {
        std::uint32_t word = 0;
        std::memcpy(&word, data.GetAVFrame()->data[1] + std::size_t{index} * sizeof word, sizeof word);
        colors.push_back({static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 8),
                          static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 24)});
    }
    return colors;
}

TEST(Stylise, PosterizedFramesCanHaveAPalette) {
    auto const process = [](bool palette) {
        Proc::SettingsEffectPosterize settings;
        settings.colorCount = 5;
        settings.palette = palette;
        auto const effect = Proc::CreateEffectPosterize({}, {});
        effect->SetSettings(settings);
        SP<IDataVideo> data = MakeFrame(PixFmt::RGBA);
        effect->Process(data);
        return data;
    };
    SP<IDataVideo> const direct = process(false);
    ASSERT_EQ(direct->GetPixelFormat(), PixFmt::RGBA);
    Colors const colors = GetColors(*direct);
    std::set<std::array<std::uint8_t, 4>> different;
    for (Conf::PixColor const& color : colors)
        different.insert({color.red, color.green, color.blue, color.alpha});
    EXPECT_EQ(different.size(), 5U);

    SP<IDataVideo> const indexed = process(true);
    ASSERT_EQ(indexed->GetPixelFormat(), PixFmt::PAL8);
    EXPECT_EQ(GetPaletteColors(*indexed), colors);
}

TEST(Stylise, BorderIsWhereItWasAskedFor) {
    Border settings;
    settings.leftPixels = 3;
    settings.rightPixels = 1;
    settings.topPixels = 2;
    settings.bottomPixels = 5;
    settings.color = {10, 20, 30, 40};
    auto const effect = Proc::CreateEffectBorder({}, {});
    effect->SetSettings(settings);
    SP<IDataVideo> const input = MakeFrame(PixFmt::RGBA, {7, 6, 4, 3});
    SP<IDataVideo> data = input;
    effect->Process(data);
    ASSERT_EQ(data->GetFrameInfo(), (Conf::FrameInfo{11, 13, 4, 3}));
    auto const before = GetPixels(*input)[0];
    auto const after = GetPixels(*data)[0];
    std::uint8_t const color[]{10, 20, 30, 40};
    for (std::size_t y = 0; y < 13; ++y)
        for (std::size_t x = 0; x < 11; ++x) {
            bool const inside = x >= 3 && x < 10 && y >= 2 && y < 8;
            std::uint8_t const* const expected = inside ? &before[4 * ((y - 2) * 7 + x - 3)] : color;
            EXPECT_TRUE(std::equal(expected, expected + 4, &after[4 * (y * 11 + x)])) << x << ' ' << y;
        }
}

/// The second answer comes from the cache, which only knows the pixel format.
TEST(Stylise, BorderForetellsTheSizeEachTime) {
    struct Case {
        Border::SizeType type;
        double left;
        double top;
    };
    for (char const* name : {"yuv420p", "yuv410p", "nv12", "yuv440p", "rgb24", "pal8"})
        for (Case const& row : {Case{Border::SizeType::OwnSize, 0.13, 0.19},
                                {Border::SizeType::Width, 0.31, 0.07},
                                {Border::SizeType::Height, 0.11, 1.5},
                                {Border::SizeType::ShorterSide, 0.123456789, 0.21},
                                {Border::SizeType::LongerSide, 1 / 3.0, 0.17}})
            for (Conf::FrameInfo const& info : {Conf::FrameInfo{65, 47, 4, 3}, {100, 200, 1, 1}}) {
                PixFmt const format = Conf::PixFmtDescription::FindByName(name).value();
                Border settings;
                settings.sizeType = row.type;
                settings.leftFraction = row.left;
                settings.topFraction = row.top;
                settings.rightFraction = settings.bottomFraction = 0.1;
                auto const effect = Proc::CreateEffectBorder({}, {});
                effect->SetSettings(settings);
                SP<IDataVideo> data = MakeFrame(format, info);
                effect->Process(data);
                for (char const* from : {"graph", "cache"}) {
                    SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(format, info);
                    effect->UpdateFormatCodec(codec);
                    EXPECT_EQ(codec->GetFrameInfo(), data->GetFrameInfo())
                        << name << ' ' << effect->GetStatistic()["Options"].GetString() << ' ' << from;
                    EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
                }
            }
}

} // namespace
} // namespace Tarsel::Test
