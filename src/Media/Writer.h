#pragma once

#include "Media/Muxer.h"
#include "Media/OutputFile.h"
#include "Media/Progress.h"
#include "Media/VideoEncoder.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Media {

struct InputStreams;

/// Encodes the lane's pictures and writes them beside the packets of the other streams. The file is opened
/// when the first picture is there, since it alone tells what the encoder gets; packets that come before it
/// wait. One thread at a time.
class Writer {
public:
    /// All references outlive this.
    Writer(EncoderRequest request, OutputFile& file, InputStreams const& input, Progress& progress);

    /// OptionsException, OutputException.
    void Write(WorkedFrame const& frame);
    /// A packet of the input that is copied.
    void Write(UniquePacket packet);
    /// Ends the file. OutputException, also when there was no picture at all.
    void Close();

    /// Once closed.
    std::vector<std::string> GetNotes() const;

private:
    void Open(WorkedFrame const& first);
    void WriteEncoded();

    EncoderRequest m_request;
    OutputFile& m_file;
    InputStreams const& m_input;
    Progress& m_progress;
    std::deque<UniquePacket> m_waiting;
    std::optional<VideoEncoder> m_encoder;
    std::optional<Muxer> m_muxer;
};

} // namespace Tarsel::Media
