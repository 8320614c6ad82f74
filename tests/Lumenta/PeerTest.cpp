#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <string>

/// Every effect gives, bit for bit, what the ffmpeg program gives for the same text.
namespace Tarsel::Test {
namespace {

constexpr std::uint32_t s_frames = 4;

/// The frames with alpha of `input` as their last plane, which is where planar formats have it. Both hold
/// s_frames frames; of packed input every fourth byte is alpha.
std::string WithAlphaOf(std::string const& input, bool isPacked, std::string frames) {
    std::size_t const pixels = std::size_t{s_small.width} * s_small.height;
    std::size_t const from = input.size() / s_frames;
    std::size_t const to = frames.size() / s_frames;
    for (std::size_t frame = 0; frame < s_frames; ++frame)
        for (std::size_t pixel = 0; pixel < pixels; ++pixel)
            frames[frame * to + to - pixels + pixel] =
                input[frame * from + (isPacked ? 4 * pixel + 3 : from - pixels + pixel)];
    return frames;
}

class Peer : public testing::TestWithParam<EffectCase> {};

TEST_P(Peer, GivesTheSameBits) {
    EffectCase const& row = GetParam();
    auto const takes = dynamic_cast<Proc::IEffectDetails const&>(*row.Make()).GetTraits().takes;
    TempFolder const folder;
    for (char const* name : {"yuv420p", "yuva420p", "rgba", "gray", "nv12", "yuv420p10le"}) {
        SCOPED_TRACE(name);
        auto const& format = Conf::PixFmtDescription::Find(ByName(name));
        if (takes == Proc::Takes::PlanarYuv && (format.IsRgb() || format.GetName() == "nv12"))
            continue; // refused, which others test
        if (TreatsAlphaApart(row) && format.HasAlpha())
            continue;
        FrameList frames;
        std::string in;
        for (std::uint32_t i = 0; i < s_frames; ++i) {
            frames.push_back(MakeFrame(format.GetFormat(), s_small, i * 40000, 40000, i + 1));
            in += GetRaw(*frames.back());
        }
        WriteFile(folder / "in.raw", in);

        std::string raw;
        std::string result;
        for (SP<Proc::IDataVideo> const& data : RunStream(*row.Make(), frames)) {
            result = NameOf(data->GetPixelFormat());
            raw += GetRaw(*data);
        }
        // Told to use alpha, elbg takes the byte after a pixel without any for it, in the padding of rows
        // too.
        if (row.classId == "posterize" && result == "rgb24")
            continue;
        ASSERT_FALSE(raw.empty());
        std::string expected =
            RunFFmpeg(std::string("-filter_threads 1 -f rawvideo -s 64x48 -r 25 -pix_fmt ") + name + " -i",
                      {folder / "in.raw", "-vf", row.text},
                      "-fps_mode passthrough -f rawvideo -pix_fmt " + result + " -");
        // Where the filter changes alpha the effect may put back what went in, and nothing else.
        if (raw != expected && raw.size() == expected.size() && format.HasAlpha() &&
            Conf::PixFmtDescription::Find(ByName(result)).GetPlaneCount() == 4)
            expected = WithAlphaOf(in, format.IsRgb(), expected);
        EXPECT_EQ(raw.size(), expected.size());
        EXPECT_TRUE(raw == expected) << row << " gave other " << result;
    }
}

INSTANTIATE_TEST_SUITE_P(Effects, Peer, testing::ValuesIn(GetWorkingCases()));

} // namespace
} // namespace Tarsel::Test
