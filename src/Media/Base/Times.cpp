#include "Media/Base/Times.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

constexpr std::int64_t s_leastTicksASecond = 10000;
constexpr std::int64_t s_mostFramesAFrame = 16;

bool IsPositive(Ratio ratio) noexcept {
    return ratio.numerator > 0 && ratio.denominator > 0;
}

double ToReal(Ratio ratio) noexcept {
    return static_cast<double>(ratio.numerator) / static_cast<double>(ratio.denominator);
}

/// The rate of frames that last this many microseconds: a whole number, or one over 1.001, where that rounds
/// to the same duration.
Ratio MeasureRate(std::int64_t duration) {
    double const rate = 1e6 / static_cast<double>(duration);
    for (Ratio const candidate :
         {Ratio{std::llround(rate), 1}, Ratio{std::llround(rate * 1.001) * 1000, 1001}})
        if (IsPositive(candidate) && std::llround(1e6 / ToReal(candidate)) == duration)
            return candidate;
    return FromAV(av_d2q(rate, 100000));
}

/// Ticks a second by doubling, as the muxer for mp4 does it too.
std::int64_t FineTicksASecond(std::int64_t ticks) noexcept {
    while (ticks < s_leastTicksASecond)
        ticks *= 2;
    return ticks;
}

} // namespace

std::int64_t ToMicroseconds(std::int64_t ticks, Ratio timeBase) noexcept {
    return IsPositive(timeBase) ? av_rescale_q(ticks, ToAV(timeBase), ToAV(s_microsecond)) : 0;
}

std::int64_t ToTicks(std::int64_t microseconds, Ratio timeBase) noexcept {
    return IsPositive(timeBase) ? av_rescale_q(microseconds, ToAV(s_microsecond), ToAV(timeBase)) : 0;
}

Ratio RefineTimeBase(Ratio input) noexcept {
    return {1, IsPositive(input) ? FineTicksASecond(input.denominator) : 1000000};
}

bool AgreeOnRate(Ratio a, Ratio b) noexcept {
    return IsPositive(a) && IsPositive(b) && std::abs(ToReal(a) - ToReal(b)) <= ToReal(b) / 100;
}

Ratio ChooseNominalRate(Ratio average, Ratio base) noexcept {
    if (!IsPositive(average) && !IsPositive(base))
        return {0, 1};
    return !IsPositive(average) || AgreeOnRate(average, base) ? base : average;
}

Ratio ChooseFrameRate(Ratio nominal, std::int64_t inputDuration, std::int64_t duration) {
    if (!IsPositive(nominal))
        return duration > 0 ? MeasureRate(duration) : Ratio{0, 1};
    if (inputDuration <= 0 || duration <= 0)
        return nominal;
    for (std::int64_t factor = 1; factor <= s_mostFramesAFrame; ++factor) {
        if (std::abs(duration * factor - inputDuration) <= inputDuration / 100)
            return {nominal.numerator * factor, nominal.denominator};
        if (std::abs(inputDuration * factor - duration) <= duration / 100)
            return {nominal.numerator, nominal.denominator * factor};
    }
    // Durations of an input without a constant rate say nothing.
    bool const isConstant = std::abs(1e6 / ToReal(nominal) - static_cast<double>(inputDuration)) <=
                            static_cast<double>(inputDuration) / 100;
    return isConstant ? MeasureRate(duration) : nominal;
}

} // namespace Tarsel::Media
