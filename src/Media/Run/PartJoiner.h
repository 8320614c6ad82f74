#pragma once

#include "Media/Container/Demuxer.h"
#include "Media/Parts.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

struct AVPacket;
struct AVStream;

namespace Tarsel::Media {

/// The packets of video that was encoded in parts, as one stream. One thread at a time.
class PartJoiner {
public:
    /// Opens the first part that has frames. InputException, also where none has.
    PartJoiner(std::vector<EncodedPart> parts, std::stop_token stop);

    /// The video as the first file describes it. As long as this object.
    AVStream const& GetStream() const noexcept { return m_first->GetVideo(); }
    /// Of the whole.
    PartFacts const& GetFacts() const noexcept { return m_whole; }

    /// The next packet of all parts, its times those in the whole, in ticks of GetStream(); false at the end.
    /// InputException where a part is not as it was written, or not like the first; Stopped.
    bool Read(AVPacket& packet);

private:
    bool OpenNext();
    void ReadAhead();
    UniquePacket ReadPart();
    void CheckLikeFirst() const;
    void CheckComplete() const;

    std::vector<EncodedPart> m_parts;
    std::stop_token m_stop;
    PartFacts m_whole;
    /// For its description.
    std::unique_ptr<Demuxer> m_first;
    std::unique_ptr<Demuxer> m_file;
    /// Of the part that `m_file` is.
    std::size_t m_at = 0;
    std::int64_t m_packets = 0;
    /// Those that were read ahead.
    std::deque<UniquePacket> m_ready;
    /// From the times in its file to those in the whole, in ticks.
    std::int64_t m_shift = 0;
};

} // namespace Tarsel::Media
