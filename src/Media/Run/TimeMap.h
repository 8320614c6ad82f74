#pragma once

#include "Media/Base/Times.h"

#include <cstdint>
#include <deque>

namespace Tarsel::Media {

/// The times of the pictures that are in the chain. The chain works in whole microseconds; a picture that
/// comes out at a time at which one went in gets back that one's own time, however fine the input's time
/// base. Not synchronized.
class TimeMap {
public:
    explicit TimeMap(Ratio inputTimeBase);

    /// That of the results of Leave.
    Ratio GetTimeBase() const noexcept { return m_timeBase; }
    /// A picture goes in, known to the chain by `microseconds` and `duration` microseconds; `time` in ticks
    /// of the input. Pictures go in in the order of their times.
    void Enter(std::int64_t microseconds, std::int64_t duration, FrameTime const& time);
    /// A picture comes out. Each result starts later than the one before, by a tick at least.
    FrameTime Leave(std::int64_t microseconds, std::int64_t duration);
    /// How many results had to be moved to start later than the one before.
    std::int64_t GetMovedCount() const noexcept { return m_moved; }

private:
    struct InFlight {
        std::int64_t microseconds;
        std::int64_t duration;
        FrameTime time;
    };

    FrameTime Find(std::int64_t microseconds, std::int64_t duration);

    Ratio m_timeBase;
    /// Ticks of m_timeBase in one of the input.
    std::int64_t m_factor = 1;
    std::deque<InFlight> m_inFlight;
    std::int64_t m_last = INT64_MIN;
    std::int64_t m_moved = 0;
};

} // namespace Tarsel::Media
