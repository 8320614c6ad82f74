#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <limits>

extern "C" {
#include <libavutil/rational.h>
}

namespace Tarsel::Media {

/// The fraction as FFmpeg's, reduced only where its terms are too large.
inline AVRational ToAV(Ratio ratio) noexcept {
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    if (ratio.numerator >= -largest && ratio.numerator <= largest && ratio.denominator >= -largest &&
        ratio.denominator <= largest)
        return {static_cast<int>(ratio.numerator), static_cast<int>(ratio.denominator)};
    AVRational result{0, 1};
    av_reduce(&result.num, &result.den, ratio.numerator, ratio.denominator, largest);
    return result;
}

inline Ratio FromAV(AVRational rational) noexcept {
    return {rational.num, rational.den};
}

/// Seconds a tick of the times of data objects.
inline constexpr Ratio s_microsecond{1, 1000000};

/// When a picture is shown and for how long, in ticks of some time base (seconds a tick).
struct FrameTime {
    std::int64_t start = 0;
    std::int64_t duration = 0;

    friend bool operator==(FrameTime const&, FrameTime const&) = default;
};

/// Ticks to microseconds and back, to the nearest, halves away from zero. A time base with a zero in it
/// gives 0.
std::int64_t ToMicroseconds(std::int64_t ticks, Ratio timeBase) noexcept;
std::int64_t ToTicks(std::int64_t microseconds, Ratio timeBase) noexcept;

/// The time base that pictures are written in: every tick of `input` is a whole number of its ticks, and
/// there are at least ten thousand in a second, so that pictures between those of the input have a time of
/// their own.
Ratio RefineTimeBase(Ratio input) noexcept;

/// The frame rate (frames a second) of an input that states an average and a base rate: the base rate where
/// both agree to a hundredth, since it has the exact fraction; otherwise the average. 0/1 when neither is
/// known.
Ratio ChooseNominalRate(Ratio average, Ratio base) noexcept;

/// Whether two rates are known and agree to a hundredth.
bool AgreeOnRate(Ratio a, Ratio b) noexcept;

/// The frame rate (frames a second) of a result, from the input's nominal one (0/1 when not known) and the
/// durations of one picture that went in and one that came out, in microseconds (0 when not known): the
/// nominal one times or over a whole number where that fits, else that of the duration; 0/1 when nothing is
/// known.
Ratio ChooseFrameRate(Ratio nominal, std::int64_t inputDuration, std::int64_t duration);

} // namespace Tarsel::Media
