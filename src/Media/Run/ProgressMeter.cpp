#include "Media/Run/ProgressMeter.h"

#include "Media/Base/Times.h"

#include <algorithm>
#include <cstdint>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {

void ProgressMeter::SetSpan(std::int64_t start, std::int64_t duration, Span const& span) noexcept {
    std::int64_t const end = duration > 0 ? av_sat_add64(start, duration) : span.to;
    Ticks const part = Cut(span, {start, end}, s_microsecond);
    m_start = part.start - span.GetOrigin();
    m_duration = end != INT64_MAX ? part.end - part.start : 0;
}

void ProgressMeter::Add(std::int64_t end) noexcept {
    Reach(end);
    ++m_frames;
}

void ProgressMeter::Reach(std::int64_t end) noexcept {
    m_end = std::max(m_end.load(), end);
}

void ProgressMeter::AddAudio(std::int64_t start, std::int64_t end) noexcept {
    m_audioStart = std::min(m_audioStart.load(), start);
    m_audioEnd = std::max(m_audioEnd.load(), end);
}

double ProgressMeter::GetAudioSeconds() const noexcept {
    std::int64_t const start = m_audioStart;
    std::int64_t const end = m_audioEnd;
    return end > start ? static_cast<double>(av_sat_sub64(end, start)) / 1e6 : 0;
}

double ProgressMeter::GetSeconds() const noexcept {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
}

RunProgress ProgressMeter::Get() const noexcept {
    RunProgress progress;
    progress.frames = m_frames;
    progress.audioSeconds = GetAudioSeconds();
    double const seconds = GetSeconds();
    if (seconds > 0)
        progress.framesPerSecond = static_cast<double>(progress.frames) / seconds;
    if (m_duration <= 0)
        return progress;
    std::int64_t const end = m_end;
    std::int64_t const passed = end == INT64_MIN ? 0 : av_sat_sub64(end, m_start);
    progress.done = std::clamp(static_cast<double>(passed) / static_cast<double>(m_duration), 0.0, 1.0);
    if (progress.done > 0)
        progress.secondsLeft = seconds / progress.done - seconds;
    return progress;
}

} // namespace Tarsel::Media
