#pragma once

#include <cstdint>
#include <vector>

namespace Tarsel::Media {

/// Closes the jumps of a broadcast clock, as recordings that were cut or joined have them: packets go on
/// where the one before ended, all streams by the same amount, so that audio and picture stay in step. Times
/// in microseconds. Not synchronized.
class ClockJumps {
public:
    /// What to add to the times of a packet with this decoding time and duration. Packets of one stream come
    /// in decoding order.
    std::int64_t Correct(int stream, std::int64_t decodingTime, std::int64_t duration);
    /// What to add to the times of a packet of a stream with long gaps, whose clock cannot be watched.
    std::int64_t GetOffset() const noexcept { return m_offset; }
    /// How often the clock jumped.
    int GetCount() const noexcept { return m_count; }

private:
    struct Stream {
        bool started = false;
        std::int64_t offset = 0;
        /// Decoding time after the last packet, corrected.
        std::int64_t next = 0;
    };

    std::vector<Stream> m_streams;
    /// Of the latest jump: other streams follow it.
    std::int64_t m_offset = 0;
    int m_count = 0;
};

} // namespace Tarsel::Media
