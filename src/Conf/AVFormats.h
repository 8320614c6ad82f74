#pragma once

#include <bit>
#include <cstdint>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Conf {

/// FFmpeg's pixel format of a number that may come from anywhere, or a PixFmt; AV_PIX_FMT_NONE for one that
/// its enumeration cannot hold. Later versions of FFmpeg have more formats than the one compiled with, so
/// that the result may still be none of its. Any thread.
template <class Number>
constexpr AVPixelFormat ToAVPixelFormat(Number number) noexcept {
    auto const format = static_cast<std::int64_t>(number);
    constexpr std::int64_t end = std::bit_ceil(unsigned{AV_PIX_FMT_NB});
    return format >= 0 && format < end ? static_cast<AVPixelFormat>(format) : AV_PIX_FMT_NONE;
}

/// The same of sample formats.
template <class Number>
constexpr AVSampleFormat ToAVSampleFormat(Number number) noexcept {
    auto const format = static_cast<std::int64_t>(number);
    constexpr std::int64_t end = std::bit_ceil(unsigned{AV_SAMPLE_FMT_NB});
    return format >= 0 && format < end ? static_cast<AVSampleFormat>(format) : AV_SAMPLE_FMT_NONE;
}

} // namespace Tarsel::Conf
