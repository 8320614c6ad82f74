#include "Conf/PixFmtDescription.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Planes.h"

#include <gtest/gtest.h>

#include <array>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Conf {

namespace {

using Test::ByName;

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
