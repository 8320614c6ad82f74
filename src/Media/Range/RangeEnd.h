#pragma once

#include "Media/Range/Span.h"

#include <cstdint>
#include <vector>

struct AVFormatContext;
struct AVPacket;

namespace Tarsel::Media {

/// Tells when nothing of a span is to come any more in a file: when video and audio are past it by as much
/// as subtitles may lie behind them. Not synchronized.
class RangeEnd {
public:
    RangeEnd() = default;
    /// Of an input that has just been opened.
    RangeEnd(AVFormatContext const& input, Span const& span);

    /// A packet of the input was read, its times in its stream's time base.
    void Add(AVFormatContext const& input, AVPacket const& packet);
    bool IsReached() const noexcept { return m_limit != INT64_MAX && m_before == 0; }

private:
    /// In microseconds.
    std::int64_t m_limit = INT64_MAX;
    /// Streams that are looked at and have not passed it.
    std::vector<bool> m_isBefore;
    int m_before = 0;
};

} // namespace Tarsel::Media
