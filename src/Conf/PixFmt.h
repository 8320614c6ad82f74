#pragma once

#include <cstdint>

namespace Tarsel::Conf {

/// Pixel formats; the numbers are FFmpeg's (AVPixelFormat), so that one is the other by a cast. Any number
/// FFmpeg knows is a valid value, named here or not; those named are the ones that code speaks of.
enum class PixFmt : std::int32_t {
    None = -1,
    YUV420P = 0,
    RGB24 = 2,
    BGR24 = 3,
    YUV422P = 4,
    YUV444P = 5,
    YUV410P = 6,
    YUV411P = 7,
    GRAY8 = 8,
    PAL8 = 11,
    YUVJ420P = 12,
    YUVJ422P = 13,
    YUVJ444P = 14,
    NV12 = 23,
    NV21 = 24,
    ARGB = 25,
    RGBA = 26,
    ABGR = 27,
    BGRA = 28,
    YUV440P = 31,
    YUVJ440P = 32,
    YUVA420P = 33,
    GBRP = 71,
    YUVA422P = 78,
    YUVA444P = 79,
    ZRGB = 118,
    RGBZ = 119,
    ZBGR = 120,
    BGRZ = 121,
    YUVJ411P = 138,
};

} // namespace Tarsel::Conf
