#include "Conf/PixFmt.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Conf {

namespace {

constexpr bool IsSame(PixFmt format, AVPixelFormat number) {
    return static_cast<std::int32_t>(format) == static_cast<std::int32_t>(number);
}

static_assert(IsSame(PixFmt::None, AV_PIX_FMT_NONE));
static_assert(IsSame(PixFmt::YUV420P, AV_PIX_FMT_YUV420P));
static_assert(IsSame(PixFmt::RGB24, AV_PIX_FMT_RGB24));
static_assert(IsSame(PixFmt::BGR24, AV_PIX_FMT_BGR24));
static_assert(IsSame(PixFmt::YUV422P, AV_PIX_FMT_YUV422P));
static_assert(IsSame(PixFmt::YUV444P, AV_PIX_FMT_YUV444P));
static_assert(IsSame(PixFmt::YUV410P, AV_PIX_FMT_YUV410P));
static_assert(IsSame(PixFmt::YUV411P, AV_PIX_FMT_YUV411P));
static_assert(IsSame(PixFmt::GRAY8, AV_PIX_FMT_GRAY8));
static_assert(IsSame(PixFmt::PAL8, AV_PIX_FMT_PAL8));
static_assert(IsSame(PixFmt::YUVJ420P, AV_PIX_FMT_YUVJ420P));
static_assert(IsSame(PixFmt::YUVJ422P, AV_PIX_FMT_YUVJ422P));
static_assert(IsSame(PixFmt::YUVJ444P, AV_PIX_FMT_YUVJ444P));
static_assert(IsSame(PixFmt::NV12, AV_PIX_FMT_NV12));
static_assert(IsSame(PixFmt::NV21, AV_PIX_FMT_NV21));
static_assert(IsSame(PixFmt::ARGB, AV_PIX_FMT_ARGB));
static_assert(IsSame(PixFmt::RGBA, AV_PIX_FMT_RGBA));
static_assert(IsSame(PixFmt::ABGR, AV_PIX_FMT_ABGR));
static_assert(IsSame(PixFmt::BGRA, AV_PIX_FMT_BGRA));
static_assert(IsSame(PixFmt::YUV440P, AV_PIX_FMT_YUV440P));
static_assert(IsSame(PixFmt::YUVJ440P, AV_PIX_FMT_YUVJ440P));
static_assert(IsSame(PixFmt::YUVA420P, AV_PIX_FMT_YUVA420P));
static_assert(IsSame(PixFmt::GBRP, AV_PIX_FMT_GBRP));
static_assert(IsSame(PixFmt::YUVA422P, AV_PIX_FMT_YUVA422P));
static_assert(IsSame(PixFmt::YUVA444P, AV_PIX_FMT_YUVA444P));
static_assert(IsSame(PixFmt::ZRGB, AV_PIX_FMT_0RGB));
static_assert(IsSame(PixFmt::RGBZ, AV_PIX_FMT_RGB0));
static_assert(IsSame(PixFmt::ZBGR, AV_PIX_FMT_0BGR));
static_assert(IsSame(PixFmt::BGRZ, AV_PIX_FMT_BGR0));
static_assert(IsSame(PixFmt::YUVJ411P, AV_PIX_FMT_YUVJ411P));

} // namespace

} // namespace Tarsel::Conf
