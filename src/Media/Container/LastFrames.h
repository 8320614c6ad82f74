#pragma once

#include "Media/Base/FFmpegOwners.h"

#include <vector>

struct AVFormatContext;

namespace Tarsel::Media {

/// The end of streams of audio whose frames say in their headers how long they are (MP3, AAC, AC-3): whether
/// the last frame is all there. Says nothing of other streams. One thread at a time.
class LastFrames {
public:
    LastFrames() = default;
    /// Of an input that has just been opened.
    explicit LastFrames(AVFormatContext const& input);

    /// A packet of the input was read. MemoryException.
    void Add(AVPacket const& packet);
    /// Whether a stream's last packet is shorter than it says. MemoryException.
    bool IsAnyCut() const;

private:
    struct Stream {
        /// An AVCodecID; 0: not looked at.
        int codec = 0;
        UniquePacket before;
        UniquePacket last;
    };

    std::vector<Stream> m_streams;
};

} // namespace Tarsel::Media
