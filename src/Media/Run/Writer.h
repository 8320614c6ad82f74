#pragma once

#include "Media/Codec/VideoEncoder.h"
#include "Media/Container/Muxer.h"
#include "Media/Container/OutputFile.h"
#include "Media/Run/NonVideoReader.h"
#include "Media/Run/NonVideoStreams.h"
#include "Media/Run/ProgressMeter.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Media {

struct InputStreams;

/// Encodes the chain's pictures and writes them beside the other streams, whose packets are fetched, and
/// worked on, as far as the pictures have come. The file is opened when the first picture is there, since it
/// alone tells what the encoder gets. One thread at a time.
class Writer {
public:
    /// `others` is null where none are wanted. It and all references outlive this.
    Writer(EncoderRequest request, OutputFile& file, InputStreams const& input, NonVideoReader* others,
           NonVideoStreams& sound, ProgressMeter& progress);

    /// OptionsException, OutputException; of the other streams InputException, Stopped,
    /// and what chains for sound throw.
    void Write(WorkedFrame const& frame);
    /// Ends the file. As Write; OutputException also when there was no picture at all.
    void Close();

    /// What encodes the pictures. Once closed, as those that follow.
    AVCodec const& GetEncoder() const noexcept { return *m_request.encoder; }
    /// Of the encoded pictures.
    std::int64_t GetByteCount() const noexcept { return m_bytes; }
    std::vector<std::string> GetNotes() const;

private:
    void Open(WorkedFrame const& first);
    void WriteEncoded();
    void WriteOthersBefore(std::int64_t time);

    EncoderRequest m_request;
    OutputFile& m_file;
    InputStreams const& m_input;
    NonVideoReader* m_others;
    NonVideoStreams& m_sound;
    ProgressMeter& m_progress;
    std::vector<std::string> m_notes;
    std::int64_t m_bytes = 0;
    std::optional<VideoEncoder> m_encoder;
    std::optional<Muxer> m_muxer;
};

} // namespace Tarsel::Media
