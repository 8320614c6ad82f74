#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <deque>

namespace Tarsel::Media {

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

/// The times of the pictures that are in the lane. The lane works in whole microseconds; a picture that comes
/// out at a time at which one went in gets back that one's own time, however fine the input's time base.
/// Not synchronised.
class TimeMap {
public:
    explicit TimeMap(Ratio inputTimeBase) noexcept;

    /// That of the results of Leave.
    Ratio GetTimeBase() const noexcept { return m_timeBase; }
    /// A picture goes in, known to the lane by `microseconds` and `duration` microseconds; `time` in ticks of
    /// the input. Pictures go in in the order of their times.
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
