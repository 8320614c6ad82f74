#include "Media/Container/ClockJumps.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

/// Further ahead is a jump, not a gap.
constexpr std::int64_t s_longestGap = 10000000;
/// Further back is a jump, not a rounded time.
constexpr std::int64_t s_largestStepBack = 100000;

bool IsJump(std::int64_t expected, std::int64_t time) noexcept {
    return av_sat_sub64(time, expected) > s_longestGap || av_sat_sub64(expected, time) > s_largestStepBack;
}

} // namespace

std::int64_t ClockJumps::Correct(int index, std::int64_t decodingTime, std::int64_t duration) {
    auto const slot = static_cast<std::size_t>(index);
    if (slot >= m_streams.size())
        m_streams.resize(slot + 1);
    Stream& stream = m_streams[slot];
    if (!stream.started)
        stream = {true, m_offset, av_sat_add64(decodingTime, m_offset)};

    if (IsJump(stream.next, av_sat_add64(decodingTime, stream.offset))) {
        if (IsJump(stream.next, av_sat_add64(decodingTime, m_offset))) {
            m_offset = av_sat_sub64(stream.next, decodingTime);
            ++m_count;
        }
        stream.offset = m_offset;
    }
    std::int64_t const corrected = av_sat_add64(decodingTime, stream.offset);
    stream.next = std::max(stream.next, av_sat_add64(corrected, duration));
    return stream.offset;
}

} // namespace Tarsel::Media
