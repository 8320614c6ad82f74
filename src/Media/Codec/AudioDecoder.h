#pragma once

#include "Core/RefCount.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Codec/AudioAligner.h"
#include "Media/Range/Span.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct AVStream;

namespace Tarsel::Media {

/// Decodes the packets of one audio stream into a line of blocks (see AudioAligner), all of one format: that
/// of the codec, but real numbers of double precision for integers of 64 bits. One thread at a time.
class AudioDecoder {
public:
    /// What is known of the stream is copied. Without `hasTimes` (Demuxer::HasTimes) only the rates of the
    /// audio tell where what follows another rate belongs. InputException when it cannot be decoded.
    AudioDecoder(AVStream const& stream, bool hasTimes);
    ~AudioDecoder();

    Conf::SampleInfo const& GetFormat() const noexcept { return m_aligner->GetFormat(); }

    /// Takes one packet, or null for the end. What cannot be decoded is skipped and counted, and becomes
    /// silence. Before the next packet all blocks are received. MemoryException.
    void Send(AVPacket const* packet);
    /// Blocks are cut to the span, to the sample, and moved to its beginning.
    void CutTo(Span const& span) noexcept { m_span = span; }
    /// The next block, with its time and duration in microseconds; null until another packet is sent.
    SP<Proc::IDataAudio> Receive();

    /// What the user should know of the decoding, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    bool Decode();
    bool CountDamage(int error);

    Ratio m_timeBase;
    bool m_hasTimes;
    bool m_ignoresTimes = false;
    UniqueCodecContext m_context;
    std::optional<AudioAligner> m_aligner;
    Span m_span;
    Proc::SafeFrame m_frame;
    std::int64_t m_damaged = 0;
    /// Of the packet sent last, and of those skipped, in the stream's time base.
    std::int64_t m_packetDuration = 0;
    std::int64_t m_lost = 0;
    bool m_ended = false;
};

} // namespace Tarsel::Media
