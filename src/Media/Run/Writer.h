#pragma once

#include "Media/Codec/VideoEncoder.h"
#include "Media/Container/Muxer.h"
#include "Media/Read/NonVideoReader.h"
#include "Media/Run/NonVideoStreams.h"
#include "Media/Run/ProgressMeter.h"

#include <cstdint>

namespace Tarsel::Media {

struct InputStreams;

/// Encodes pictures and writes them beside the other streams, whose packets are fetched, and worked on, as
/// far as the pictures have come. One thread at a time.
class Writer {
public:
    /// `others` is null where none are wanted. It and all references outlive this.
    Writer(VideoEncoder& encoder, Muxer& muxer, InputStreams const& input, NonVideoReader* others,
           NonVideoStreams& beside, ProgressMeter& progress)
        : m_encoder(encoder), m_muxer(muxer), m_input(input), m_others(others), m_beside(beside),
          m_progress(progress) {}

    /// OutputException; of the other streams InputException, Stopped, and what their effects throw.
    void Write(WorkedFrame const& frame);
    /// Ends the file. As Write.
    void Close();

    /// Of the encoded pictures. Once closed.
    std::int64_t GetByteCount() const noexcept { return m_bytes; }
    std::int64_t GetPacketCount() const noexcept { return m_packets; }

private:
    void WriteEncoded();
    void WriteOthersBefore(std::int64_t time);

    VideoEncoder& m_encoder;
    Muxer& m_muxer;
    InputStreams const& m_input;
    NonVideoReader* m_others;
    NonVideoStreams& m_beside;
    ProgressMeter& m_progress;
    std::int64_t m_bytes = 0;
    std::int64_t m_packets = 0;
};

} // namespace Tarsel::Media
