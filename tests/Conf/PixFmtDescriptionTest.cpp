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
    for (char const* name :
         {"yuv420p", "gbrp", "gbrap", "gbrp10le", "gbrp16le", "gbrp16be", "rgb48le", "yuvj444p", "yuva444p",
          "yuv420p16le", "gray", "gray16le", "gray16be", "argb", "pal8", "nv21", "0rgb", "bgr0"})
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
    EXPECT_EQ(&GetPixelFormatDescription(PixFmt::NV12), &PixFmtDescription::Find(PixFmt::NV12));
    EXPECT_EQ(ByName("yuva444p"), PixFmt::YUVA444P);
    for (char const* name : {"", "yuv420", "YUV420P"})
        EXPECT_FALSE(PixFmtDescription::FindByName(name)) << name;
    EXPECT_THAT([] { PixFmtDescription::Find(static_cast<PixFmt>(100000)); },
                testing::ThrowsMessage<Core::CoreException>("Unknown pixel format 100000"));
    EXPECT_THAT([] { PixFmtDescription::Find(PixFmt::None); },
                testing::ThrowsMessage<Core::CoreException>("Unknown pixel format -1"));
}

TEST(PixFmtDescriptionTest, Describes) {
    using D = PixFmtDescription;
    struct {
        char const* name;
        unsigned flags;
        int depth, planes, shiftX, shiftY;
    } const cases[] = {{"yuva422p10be", D::Planar | D::Alpha | D::BigEndian, 10, 4, 1, 0},
                       {"nv12", D::Planar, 8, 2, 1, 1},
                       {"rgb565le", D::Rgb, 6, 1, 0, 0},
                       {"gbrapf32le", D::Rgb | D::Planar | D::Alpha | D::Float, 32, 4, 0, 0},
                       {"pal8", D::Palette | D::Alpha, 8, 1, 0, 0}};
    for (auto const& facts : cases) {
        PixFmtDescription const& format = PixFmtDescription::Find(ByName(facts.name));
        EXPECT_EQ(format.GetFlags(), facts.flags) << facts.name;
        EXPECT_EQ(format.GetDepth(), facts.depth) << facts.name;
        EXPECT_EQ(format.GetPlaneCount(), facts.planes) << facts.name;
        EXPECT_EQ(format.GetChromaShiftX(), facts.shiftX) << facts.name;
        EXPECT_EQ(format.GetChromaShiftY(), facts.shiftY) << facts.name;
    }
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

TEST(PixFmtDescriptionTest, PicksTheNearestFormat) {
    std::vector<PixFmt> const withAlphas{PixFmt::YUVA420P, PixFmt::YUVA422P, PixFmt::YUVA444P};
    struct {
        std::vector<PixFmt> list;
        char const* format;
        bool withAlpha;
        char const* best;
        int loss;
    } const cases[] = {
        {withAlphas, "yuva444p10le", true, "yuva444p", FF_LOSS_DEPTH},
        {withAlphas, "rgba", true, "yuva444p", FF_LOSS_COLORSPACE},
        {{PixFmt::YUV420P, PixFmt::RGB24, PixFmt::GRAY8}, "bgr24", true, "rgb24", 0},
        {{PixFmt::RGB24, PixFmt::YUVA444P}, "rgba", false, "rgb24", 0},
        {{PixFmt::RGB24}, "rgba", true, "rgb24", FF_LOSS_ALPHA},
        {{PixFmt::NV12, PixFmt::YUV420P}, "yuv420p", true, "yuv420p", 0},
    };
    for (auto const& example : cases) {
        int loss = -1;
        PixFmt const best =
            FindBestPixelFormatOfList(example.list, ByName(example.format), example.withAlpha, &loss);
        EXPECT_EQ(best, ByName(example.best)) << example.format << " to " << example.best;
        EXPECT_EQ(loss, example.loss) << example.format << " to " << example.best;
        EXPECT_EQ(FindBestPixelFormatOfList(example.list, ByName(example.format), example.withAlpha, nullptr),
                  best);
    }
    int loss = -1;
    EXPECT_EQ(FindBestPixelFormatOfList({}, PixFmt::RGB24, true, &loss), PixFmt::None);
    EXPECT_EQ(loss, 0);
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
