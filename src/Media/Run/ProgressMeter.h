#pragma once

#include "Media/Progress.h"
#include "Media/Range/Span.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace Tarsel::Media {

/// How far a run is. Written by the stage that writes the file, read by the thread that reports.
class ProgressMeter {
public:
    /// Where the pictures, or the audio, start and how long they last, in microseconds of the input, and what
    /// is wanted of them; a duration of 0 is not known.
    void SetSpan(std::int64_t start, std::int64_t duration, Span const& span) noexcept;
    /// A picture was written that ends at this time, in microseconds of the output, as all that follow.
    void Add(std::int64_t end) noexcept;
    /// Audio was written up to this time, in microseconds: where there are no pictures to count.
    void Reach(std::int64_t end) noexcept;

    /// Audio was written from and to these times, in microseconds, whether there are pictures or not.
    void AddAudio(std::int64_t start, std::int64_t end) noexcept;

    std::int64_t GetFrames() const noexcept { return m_frames; }
    double GetAudioSeconds() const noexcept;
    /// Since this object was made.
    double GetSeconds() const noexcept;
    RunProgress Get() const noexcept;

private:
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::int64_t m_start = 0;
    std::int64_t m_duration = 0;
    std::atomic<std::int64_t> m_frames{0};
    std::atomic<std::int64_t> m_end{INT64_MIN};
    std::atomic<std::int64_t> m_audioStart{INT64_MAX};
    std::atomic<std::int64_t> m_audioEnd{INT64_MIN};
};

} // namespace Tarsel::Media
