#pragma once

#include "Core/Ratio.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/Times.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct AVStream;

namespace Tarsel::Media {

/// A picture and its time in the stream's time base.
struct DecodedFrame {
    Proc::SafeFrame frame;
    FrameTime time;
};

/// Decodes the packets of one picture stream, on as many threads as ChooseCodecThreads says. Every picture
/// has a time, later than the one before, and the stream's pixel aspect. One thread at a time.
class VideoDecoder {
public:
    /// `frameRate` (0/1 when not known) serves pictures without a time. InputException.
    VideoDecoder(AVFormatContext const& context, AVStream const& stream, Ratio frameRate);

    /// Takes one packet, or null for the end. What cannot be decoded is skipped and counted. Before the next
    /// packet all pictures are received. MemoryException.
    void Send(AVPacket const* packet);
    /// The next picture; nothing until another packet is sent.
    std::optional<DecodedFrame> Receive();

    /// What the user should know of the decoding, one sentence each.
    std::vector<std::string> GetNotes() const;
    /// What FFmpeg said of the last packet that could not be decoded, "" when there was none.
    std::string GetLastError() const;

private:
    FrameTime MakeTime(AVFrame const& frame);
    bool CountDamage(int error);

    AVFormatContext const& m_format;
    AVStream const& m_stream;
    UniqueCodecContext m_context;
    /// Empty, for the next picture.
    Proc::SafeFrame m_frame;
    /// Of a picture that has none, in ticks.
    std::int64_t m_usualDuration = 0;
    std::optional<FrameTime> m_last;
    std::int64_t m_damaged = 0;
    std::int64_t m_incomplete = 0;
    std::int64_t m_moved = 0;
    int m_lastError = 0;
};

/// What is wrong with a still picture whose decoder makes up for what is missing, in FFmpeg's words; "" where
/// nothing is, and for codecs whose decoders refuse such pictures themselves. Decodes it once more. Any
/// thread. MemoryException.
std::string DescribeStillDamage(AVStream const& stream, AVPacket const& packet);

} // namespace Tarsel::Media
