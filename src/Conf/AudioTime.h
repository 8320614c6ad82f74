#pragma once

#include "Core/Api.h"

#include <cstdint>

namespace Tarsel::Conf {

/// A clock that runs by samples. As long as the rate stays, its time is that of the whole count of samples,
/// rounded once: it does not drift, however short the blocks. Each change of the rate moves it by less than a
/// billionth of a microsecond. A value, not synchronized.
class TARSEL_API AudioTime {
public:
    /// Starts at 0, or at that many microseconds.
    explicit AudioTime(std::int64_t start = 0) noexcept : m_start(start) {}

    /// In microseconds, rounded to the nearest.
    std::int64_t GetTime() const noexcept;
    /// Goes on by `count` samples (of each channel, at least 0) at `rate` samples a second. A rate of 0 or
    /// less is none: time stands still.
    void AddSamples(std::int32_t rate, std::int64_t count) noexcept;

private:
    void Rebase(std::int32_t rate) noexcept;

    /// Where the count of samples began: whole microseconds, and parts of one of which there are 2^32.
    std::int64_t m_start;
    std::uint64_t m_startFraction = 0;
    std::int64_t m_count = 0;
    std::int32_t m_rate = 1;
};

/// How long that many samples last, in microseconds, rounded to the nearest; 0 for a rate of 0 or less.
TARSEL_API std::int64_t GetDuration(std::int32_t rate, std::int64_t count) noexcept;

} // namespace Tarsel::Conf
