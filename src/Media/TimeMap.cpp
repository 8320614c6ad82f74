#include "Media/TimeMap.h"

#include "Media/FFmpegRatio.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

constexpr AVRational s_microsecond{1, 1000000};
constexpr std::int64_t s_leastTicksASecond = 10000;
constexpr std::int64_t s_mostFramesAFrame = 16;
/// Times of pictures that never come out are forgotten beyond this many.
constexpr std::size_t s_mostInFlight = 100000;

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

/// Saturated; `factor` is positive.
std::int64_t Multiply(std::int64_t ticks, std::int64_t factor) noexcept {
    return std::clamp(ticks, INT64_MIN / factor, INT64_MAX / factor) * factor;
}

/// Ticks a second by doubling, as the muxer for mp4 does it too.
std::int64_t FineTicksASecond(std::int64_t ticks) noexcept {
    while (ticks < s_leastTicksASecond)
        ticks *= 2;
    return ticks;
}

} // namespace

std::int64_t ToMicroseconds(std::int64_t ticks, Ratio timeBase) noexcept {
    return IsPositive(timeBase) ? av_rescale_q(ticks, ToAV(timeBase), s_microsecond) : 0;
}

std::int64_t ToTicks(std::int64_t microseconds, Ratio timeBase) noexcept {
    return IsPositive(timeBase) ? av_rescale_q(microseconds, s_microsecond, ToAV(timeBase)) : 0;
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

TimeMap::TimeMap(Ratio inputTimeBase) noexcept : m_timeBase(RefineTimeBase(inputTimeBase)) {
    if (IsPositive(inputTimeBase))
        m_factor = inputTimeBase.numerator * (m_timeBase.denominator / inputTimeBase.denominator);
}

void TimeMap::Enter(std::int64_t microseconds, std::int64_t duration, FrameTime const& time) {
    if (m_inFlight.size() == s_mostInFlight)
        m_inFlight.pop_front();
    m_inFlight.push_back({microseconds, duration, time});
}

FrameTime TimeMap::Leave(std::int64_t microseconds, std::int64_t duration) {
    FrameTime time = Find(microseconds, duration);
    if (m_last != INT64_MIN && time.start <= m_last) {
        time.start = av_sat_add64(m_last, 1);
        ++m_moved;
    }
    m_last = time.start;
    return time;
}

FrameTime TimeMap::Find(std::int64_t microseconds, std::int64_t duration) {
    while (!m_inFlight.empty() && m_inFlight.front().microseconds < microseconds)
        m_inFlight.pop_front();
    FrameTime found{ToTicks(microseconds, m_timeBase), ToTicks(duration, m_timeBase)};
    if (!m_inFlight.empty() && m_inFlight.front().microseconds == microseconds) {
        InFlight const& same = m_inFlight.front();
        found.start = Multiply(same.time.start, m_factor);
        if (duration == same.duration)
            found.duration = Multiply(same.time.duration, m_factor);
        m_inFlight.pop_front();
    }
    return found;
}

} // namespace Tarsel::Media
