#pragma once

#include "Media/RunTimes.h"

#include <atomic>
#include <chrono>

namespace Tarsel::Media {

/// Gathers what a run takes. Each sum belongs to one thread at a time.
class StageTimes {
public:
    StageTimes() noexcept;

    std::chrono::nanoseconds reading{};
    std::chrono::nanoseconds effects{};
    std::chrono::nanoseconds writing{};
    std::chrono::nanoseconds audio{};

    /// A frame was read: for the one stage that does.
    void Enter() noexcept;
    /// One was written, or dropped at the end of its way. Any thread.
    void Leave() noexcept { --m_inFlight; }

    /// Of all from the making of this object on. Once the stages have ended.
    RunTimes Get() const noexcept;

private:
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    double m_processorAtBegin;
    std::atomic<int> m_inFlight{0};
    std::atomic<int> m_mostInFlight{0};
};

} // namespace Tarsel::Media
