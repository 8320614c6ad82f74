#include "EffectCases.h"
#include "Frames.h"

#include "Conf/FormatCodecVideo.h"
#include "Host/VideoChain.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;

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
