#pragma once

#include "Media/Base/FFmpegOwners.h"

#include <cstdint>
#include <string>
#include <vector>

struct AVOutputFormat;
struct AVStream;
struct AVSubtitle;

namespace Tarsel::Media {

/// Subtitles of text on their way into another codec: their times are kept, and of their styles what FFmpeg
/// carries over. One thread at a time.
class TextTrack {
public:
    /// Whether the subtitles of the stream are text that the container cannot hold as it is, but in its own
    /// codec.
    static bool IsNeeded(AVStream const& source, AVOutputFormat const& format);

    /// For a stream that needs it. OutputException where FFmpeg cannot convert between the two.
    TextTrack(AVStream const& source, AVOutputFormat const& format);
    ~TextTrack();

    /// Of the encoder.
    AVCodecContext const& GetContext() const noexcept { return *m_encoder; }

    /// Converts a packet, its times in the time base of its stream. False where it holds nothing to be shown,
    /// or is damaged; the packet is empty then. OutputException, MemoryException.
    bool Convert(AVPacket& packet);

    /// "Converted the subtitles from ass to mov_text."
    std::string Describe() const;
    /// What came up, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    bool Encode(AVSubtitle& text, AVPacket& packet);

    UniqueCodecContext m_decoder;
    UniqueCodecContext m_encoder;
    std::vector<std::uint8_t> m_buffer;
    std::int64_t m_damaged = 0;
};

} // namespace Tarsel::Media
