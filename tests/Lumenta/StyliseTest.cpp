#include "EffectCases.h"
#include "Frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Proc::IDataVideo;

/// Words of alpha, red, green, blue from the highest byte on: of a frame in "bgra", or of its palette.
std::vector<std::uint32_t> GetWords(IDataVideo const& data) {
    std::vector<std::uint32_t> words;
    auto const bytes = GetPixels(data).at(0);
    bool const isIndexed = data.GetPixelFormat() == PixFmt::PAL8;
    for (std::size_t i = 0; i < bytes.size(); i += isIndexed ? 1 : 4)
        std::memcpy(&words.emplace_back(),
                    isIndexed ? data.GetAVFrame()->data[1] + 4 * std::size_t{bytes[i]} : &bytes[i], 4);
    return words;
}

TEST(Stylise, PosterizedFramesCanHaveAPalette) {
    SP<IDataVideo> const frame = MakeFrame(PixFmt::BGRA);
    SP<IDataVideo> const direct = Apply(*MakeEffect("posterize", "colors=5"), frame);
    ASSERT_EQ(direct->GetPixelFormat(), PixFmt::BGRA);
    std::vector<std::uint32_t> const words = GetWords(*direct);
    EXPECT_EQ(std::set(words.begin(), words.end()).size(), 5U);

    SP<IDataVideo> const indexed = Apply(*MakeEffect("posterize", "colors=5:palette=1"), frame);
    ASSERT_EQ(indexed->GetPixelFormat(), PixFmt::PAL8);
    EXPECT_EQ(GetWords(*indexed), words);
}

TEST(Stylise, BorderIsWhereItWasAskedFor) {
    SP<IDataVideo> const input = MakeFrame(PixFmt::RGBA, {7, 6, 4, 3});
    SP<IDataVideo> const data =
        Apply(*MakeEffect("border", "left=3:right=1:top=2:bottom=5:color=#0a141e28"), input);
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
    for (char const* name : {"yuv420p", "yuv410p", "nv12", "yuv440p", "rgb24", "pal8"})
        for (char const* sides : {"type=own:left-fraction=0.13:top-fraction=0.19",
                                  "type=width:left-fraction=0.31:top-fraction=0.07",
                                  "type=height:left-fraction=0.11:top-fraction=1.5",
                                  "type=shorter:left-fraction=0.123456789:top-fraction=0.21",
                                  "type=longer:left-fraction=0.33333333333333331:top-fraction=0.17"})
            for (Conf::FrameInfo const& info : {Conf::FrameInfo{65, 47, 4, 3}, {100, 200, 1, 1}}) {
                auto const effect =
                    MakeEffect("border", std::string(sides) + ":right-fraction=0.1:bottom-fraction=0.1");
                SP<IDataVideo> const data = Apply(*effect, MakeFrame(ByName(name), info));
                for (char const* from : {"graph", "cache"}) {
                    auto const codec = Ask(*effect, ByName(name), info);
                    EXPECT_EQ(codec->GetFrameInfo(), data->GetFrameInfo())
                        << name << ' ' << sides << ' ' << from;
                    EXPECT_EQ(codec->GetPixelFormat(), data->GetPixelFormat());
                }
            }
}

} // namespace
} // namespace Tarsel::Test
