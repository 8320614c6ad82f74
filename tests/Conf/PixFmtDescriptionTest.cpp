#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <array>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Conf {

namespace {

using Test::ByName;

TEST(PixFmtDescriptionTest, TakesWhatTheScalerReadsAndWritesAndListsItInOrder) {
    for (char const* name : {"yuvj444p", "gbrp16be", "rgb48le", "gray16le", "pal8", "nv21", "bgr0"})
        EXPECT_TRUE(PixFmtDescription::IsSupported(ByName(name))) << name;
    for (char const* name : {"vaapi", "cuda", "monob", "bgr4", "rgb4", "bayer_rggb8", "nv20le", "uyyvyy411"})
        EXPECT_FALSE(PixFmtDescription::IsSupported(ByName(name))) << name;
    std::vector<PixFmt> expected;
    for (int number = -1; number < 1000; ++number)
        if (PixFmtDescription::IsSupported(static_cast<PixFmt>(number)))
            expected.push_back(static_cast<PixFmt>(number));
    EXPECT_EQ(PixFmtDescription::s_supportedFormats, expected);
    EXPECT_EQ(PixFmtDescription::IsSupported(static_cast<PixFmt>(100000)), false);
}

TEST(PixFmtDescriptionTest, FindsWhatFFmpegKnows) {
    EXPECT_EQ(PixFmtDescription::Find(PixFmt::ZRGB).GetName(), "0rgb");
    for (char const* name : {"", "yuv420", "YUV420P"})
        EXPECT_FALSE(PixFmtDescription::FindByName(name)) << name;
    EXPECT_THAT([] { PixFmtDescription::Find(static_cast<PixFmt>(100000)); },
                testing::ThrowsMessage<Core::CoreException>("Unknown pixel format 100000"));
    EXPECT_THAT([] { PixFmtDescription::Find(PixFmt::None); },
                testing::ThrowsMessage<Core::CoreException>("Unknown pixel format -1"));
}

/// Rows and bytes of every plane of every format, against FFmpeg's own sums for an odd size.
TEST(PixFmtDescriptionTest, PlaneSizesAreThoseOfFFmpeg) {
    constexpr int width = 13;
    constexpr int height = 7;
    for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
        auto const number = static_cast<AVPixelFormat>(format);
        PixFmtDescription const& description = PixFmtDescription::Find(format);
        std::array<int, 4> rowBytes{};
        ASSERT_GE(av_image_fill_linesizes(rowBytes.data(), number, width), 0);
        std::array<std::ptrdiff_t, 4> strides{};
        std::copy(rowBytes.begin(), rowBytes.end(), strides.begin());
        std::array<std::size_t, 4> bytes{};
        ASSERT_GE(av_image_fill_plane_sizes(bytes.data(), number, height, strides.data()), 0);
        for (int plane = 0; plane < description.GetPlaneCount(); ++plane) {
            auto const at = static_cast<std::size_t>(plane);
            EXPECT_EQ(description.GetPlanHeight(plane, height) * static_cast<std::size_t>(rowBytes[at]),
                      bytes[at])
                << description.GetName() << " plane " << plane;
            if (description.GetPlaneCount() > 1) {
                EXPECT_EQ(rowBytes[at] % static_cast<int>(description.GetPlanWidth(plane, width)), 0)
                    << description.GetName() << " plane " << plane;
            }
        }
    }
    EXPECT_EQ(PixFmtDescription::Find(PixFmt::YUV420P).GetPlanWidth(1, 0xFFFFFFFFU), 0x80000000U);
}

TEST(PixFmtDescriptionTest, FullRangeFormatsHaveATwin) {
    int twins = 0;
    for (PixFmt const format : PixFmtDescription::s_supportedFormats) {
        std::string const& name = PixFmtDescription::Find(format).GetName();
        bool const isFull = name.starts_with("yuvj");
        PixFmt const plain = isFull ? ByName("yuv" + name.substr(4)) : format;
        EXPECT_EQ(WithoutFixedRange(format), plain) << name;
        if (isFull) {
            ++twins;
            EXPECT_EQ(WithFullRange(plain), format) << name;
        }
    }
    EXPECT_EQ(twins, 5);
}

} // namespace

} // namespace Tarsel::Conf
