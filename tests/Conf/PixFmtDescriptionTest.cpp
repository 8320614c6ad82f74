#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <array>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
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

constexpr int s_size = 16;

/// The bytes of one pixel, plane by plane, of a picture of one color that libswscale made.
std::vector<int> ColorByScaler(PixColor color, PixFmt format, ColorSpace const& space) {
    Proc::SafeFrame from({}, ByName("gbrap"), s_size, s_size, 1, 1);
    Proc::SafeFrame to({}, format, s_size, s_size, 1, 1);
    for (int plane = 0; plane < 4; ++plane)
        Test::FillPlane(*from, plane,
                        std::array{color.green, color.blue, color.red, color.alpha}[std::size_t(plane)]);
    SwsContext* const scaler =
        sws_getContext(s_size, s_size, AV_PIX_FMT_GBRAP, s_size, s_size, static_cast<AVPixelFormat>(format),
                       SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr);
    int const* const table = sws_getCoefficients(space.matrix);
    sws_setColorspaceDetails(scaler, table, 1, table, space.range == AVCOL_RANGE_JPEG ? 1 : 0, 0, 1 << 16,
                             1 << 16);
    EXPECT_EQ(sws_scale(scaler, from->data, from->linesize, 0, s_size, to->data, to->linesize), s_size);
    sws_freeContext(scaler);

    std::vector<int> bytes;
    PixFmtDescription const& description = PixFmtDescription::Find(format);
    for (int plane = 0; plane < description.GetPlaneCount(); ++plane) {
        auto const first = Test::PlaneBytes(*to, plane);
        auto const pixels =
            std::size_t{description.GetPlanWidth(plane, s_size)} * description.GetPlanHeight(plane, s_size);
        bytes.insert(bytes.end(), first.begin(),
                     first.begin() + static_cast<std::ptrdiff_t>(first.size() / pixels));
    }
    return bytes;
}

class MakeColorTest : public testing::TestWithParam<char const*> {
protected:
    // The scaler warns of each "j" format.
    MakeColorTest() { av_log_set_level(AV_LOG_ERROR); }
    ~MakeColorTest() override { av_log_set_level(AV_LOG_INFO); }
};

TEST_P(MakeColorTest, IsWhatTheScalerMakes) {
    PixFmtDescription const& description = PixFmtDescription::Find(ByName(GetParam()));
    bool const alwaysFull = description.IsFullRange({AVCOL_SPC_BT709, AVCOL_RANGE_MPEG});
    for (std::int32_t const matrix : {AVCOL_SPC_BT709, AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_SMPTE170M,
                                      AVCOL_SPC_SMPTE240M, AVCOL_SPC_BT2020_NCL})
        for (std::int32_t const range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG})
            for (PixColor const color : {PixColor{255, 0, 0, 255},
                                         {0, 255, 0, 255},
                                         {0, 0, 255, 128},
                                         {255, 255, 255, 255},
                                         {0, 0, 0, 0},
                                         {200, 100, 50, 77}}) {
                ColorSpace const space{matrix, range};
                PixComponents const made = description.MakeColor(color, space);
                ColorSpace const scaled{matrix, alwaysFull ? std::int32_t{AVCOL_RANGE_JPEG} : range};
                std::vector<int> const expected = ColorByScaler(color, description.GetFormat(), scaled);
                for (std::size_t i = 0; i < made.size(); ++i)
                    EXPECT_NEAR(made[i], i < expected.size() ? expected[i] : 0, 1)
                        << GetParam() << " matrix " << matrix << " range " << range << " place " << i
                        << " of " << int(color.red) << " " << int(color.green) << " " << int(color.blue);
            }
}

INSTANTIATE_TEST_SUITE_P(Formats, MakeColorTest,
                         testing::Values("yuv420p", "yuv422p", "yuv444p", "yuv410p", "yuv411p", "yuv440p",
                                         "yuvj420p", "yuvj444p", "yuva420p", "yuva444p", "nv12", "nv21",
                                         "rgb24", "bgr24", "argb", "rgba", "abgr", "bgra", "gbrp", "gbrap"),
                         [](auto const& format) { return std::string(format.param); });

/// Where the scaler is no reference: it writes padding as it likes, and gray as full range only.
TEST(MakeColorByHandTest, PaddingGrayAndOthers) {
    constexpr PixColor tint{200, 100, 50, 77};
    struct {
        char const* format;
        ColorSpace space;
        PixComponents expected;
    } const cases[] = {
        {"0rgb", {}, {77, 200, 100, 50}},
        {"bgr0", {}, {50, 100, 200, 77}},
        // 0.299 * 200 + 0.587 * 100 + 0.114 * 50 = 124.2; limited 16 + 124.2 * 219 / 255 = 122.67,
        // 128 - 74.2 / 1.772 * 224 / 255 = 91.22, 128 + 75.8 / 1.402 * 224 / 255 = 175.49
        {"gray", {}, {124, 0, 0, 0}},
        {"gray", {AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG}, {123, 0, 0, 0}},
        {"ya8", {AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG}, {123, 77, 0, 0}},
        {"yuv420p", {}, {123, 91, 175, 0}},
        {"uyvy422", {}, {91, 123, 175, 0}},
        {"yuv420p10le", {}, {123, 91, 175, 0}},
        {"gbrap12be", {}, {100, 50, 200, 77}},
        {"pal8", {}, {0, 0, 0, 0}},
    };
    for (auto const& example : cases)
        EXPECT_EQ(PixFmtDescription::Find(ByName(example.format)).MakeColor(tint, example.space),
                  example.expected)
            << example.format;
}

} // namespace

} // namespace Tarsel::Conf
