#include "Conf/PixFmtDescription.h"

#include <gmock/gmock.h>

#include <memory>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Conf {

namespace {

struct FreeFrame {
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
};
struct FreeScaler {
    void operator()(SwsContext* context) const noexcept { sws_freeContext(context); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

constexpr int s_size = 16;

Frame MakePicture(PixFmt format) {
    Frame frame(av_frame_alloc());
    frame->format = static_cast<int>(format);
    frame->width = s_size;
    frame->height = s_size;
    EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

/// The bytes of one pixel, plane by plane, of a picture of one colour that libswscale made.
std::vector<int> ColorByScaler(PixColor color, PixFmt format, ColorSpace const& space) {
    Frame const from = MakePicture(PixFmt::RGBA);
    for (int i = 0; i < s_size * s_size; ++i) {
        std::uint8_t* const pixel = from->data[0] + (i / s_size) * from->linesize[0] + i % s_size * 4;
        pixel[0] = color.red;
        pixel[1] = color.green;
        pixel[2] = color.blue;
        pixel[3] = color.alpha;
    }
    Frame const to = MakePicture(format);
    std::unique_ptr<SwsContext, FreeScaler> const scaler(
        sws_getContext(s_size, s_size, AV_PIX_FMT_RGBA, s_size, s_size, static_cast<AVPixelFormat>(format),
                       SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
    int const* const table = sws_getCoefficients(space.matrix);
    sws_setColorspaceDetails(scaler.get(), table, 1, table, space.range == AVCOL_RANGE_JPEG ? 1 : 0, 0,
                             1 << 16, 1 << 16);
    EXPECT_EQ(sws_scale(scaler.get(), from->data, from->linesize, 0, s_size, to->data, to->linesize), s_size);

    std::vector<int> bytes;
    PixFmtDescription const& description = PixFmtDescription::Find(format);
    for (int plane = 0; plane < description.GetPlaneCount(); ++plane) {
        int const pixelBytes = av_image_get_linesize(static_cast<AVPixelFormat>(format), s_size, plane) /
                               static_cast<int>(description.GetPlanWidth(plane, s_size));
        bytes.insert(bytes.end(), to->data[plane], to->data[plane] + pixelBytes);
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
    PixFmtDescription const& description =
        PixFmtDescription::Find(PixFmtDescription::FindByName(GetParam()).value());
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
        EXPECT_EQ(PixFmtDescription::Find(PixFmtDescription::FindByName(example.format).value())
                      .MakeColor(tint, example.space),
                  example.expected)
            << example.format;
}

} // namespace

} // namespace Tarsel::Conf
