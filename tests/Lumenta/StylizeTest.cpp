#include "EffectCases.h"
#include "Frames.h"

#include "Conf/FormatCodecVideo.h"
#include "Host/VideoChain.h"

#include <fmt/format.h>
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

TEST(Stylize, PosterizedFramesCanHaveAPalette) {
    SP<IDataVideo> const frame = MakeFrame(PixFmt::BGRA);
    SP<IDataVideo> const direct = Apply(*MakeEffect("posterize", "colors=5"), frame);
    ASSERT_EQ(direct->GetPixelFormat(), PixFmt::BGRA);
    std::vector<std::uint32_t> const words = GetWords(*direct);
    EXPECT_EQ(std::set(words.begin(), words.end()).size(), 5U);

    SP<IDataVideo> const indexed = Apply(*MakeEffect("posterize", "colors=5:palette=1"), frame);
    ASSERT_EQ(indexed->GetPixelFormat(), PixFmt::PAL8);
    EXPECT_EQ(GetWords(*indexed), words);
}

TEST(Stylize, BorderIsWhereItWasAskedFor) {
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

TEST(Stylize, BordersInAChainAreExactAtAnySize) {
    struct Case {
        Conf::FrameInfo info;
        std::uint32_t left, right, top, bottom;
    };
    int compared = 0;
    for (char const* name :
         {"yuv420p", "yuvj420p", "yuva420p", "nv12", "yuv422p10le", "yuv410p", "yuyv422", "yuv420p10be"})
        for (Case const& row : {Case{{19, 7, 4, 3}, 1, 2, 1, 1}, Case{{64, 48, 1, 1}, 1, 1, 3, 0},
                                Case{{1, 1, 1, 1}, 0, 1, 0, 3}, Case{{64, 48, 1, 1}, 8, 4, 4, 0}}) {
            SCOPED_TRACE(fmt::format("{} {}x{}", name, row.info.width, row.info.height));
            auto const effect =
                MakeEffect("border", fmt::format("left={}:right={}:top={}:bottom={}:color=#ff8040", row.left,
                                                 row.right, row.top, row.bottom));
            SP<IDataVideo> const frame = MakeFrame(ByName(name), row.info);
            Host::VideoChain chain;
            chain.Append(effect);
            chain.Feed(frame);
            SP<IDataVideo> const result = chain.Take();
            ASSERT_TRUE(result);
            Conf::FrameInfo const size{row.info.width + row.left + row.right,
                                       row.info.height + row.top + row.bottom, row.info.aspectNum,
                                       row.info.aspectDen};
            EXPECT_EQ(result->GetFrameInfo(), size);
            EXPECT_EQ(result->GetPixelFormat(), frame->GetPixelFormat());
            EXPECT_TRUE(chain.GetNotes().empty());
            SP<Conf::IFormatCodecVideo> codec = MakeSP<Conf::FormatCodecVideo>(ByName(name), row.info);
            chain.UpdateFormatCodec(codec);
            EXPECT_EQ(codec->GetFrameInfo(), size);
            EXPECT_EQ(codec->GetPixelFormat(), frame->GetPixelFormat());

            Pixels const before = GetPixels(*frame);
            Pixels const after = GetPixels(*result);
            std::size_t const sample = before[0].size() / row.info.width / row.info.height;
            for (std::size_t y = 0; y < row.info.height && before.size() > 1; ++y)
                EXPECT_TRUE(std::equal(&before[0][y * row.info.width * sample],
                                       &before[0][0] + (y + 1) * row.info.width * sample,
                                       &after[0][((y + row.top) * size.width + row.left) * sample]))
                    << y;
            // On whole chroma samples the filter does the same by itself.
            SP<IDataVideo> const direct = row.left == 8 ? Apply(*effect, frame) : nullptr;
            if (direct && direct->GetPixelFormat() == frame->GetPixelFormat()) {
                EXPECT_EQ(after, GetPixels(*direct));
                ++compared;
            }
        }
    EXPECT_GT(compared, 4);
}

} // namespace
} // namespace Tarsel::Test
