#include "Media/Run/TimeMap.h"

#include <algorithm>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

/// Times of pictures that never come out are forgotten beyond this many.
constexpr std::size_t s_mostInFlight = 100000;

/// Saturated; `factor` is positive.
std::int64_t Multiply(std::int64_t ticks, std::int64_t factor) noexcept {
    return std::clamp(ticks, INT64_MIN / factor, INT64_MAX / factor) * factor;
}

} // namespace

TimeMap::TimeMap(Ratio inputTimeBase) : m_timeBase(RefineTimeBase(inputTimeBase)) {
    if (inputTimeBase.numerator > 0 && inputTimeBase.denominator > 0)
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
