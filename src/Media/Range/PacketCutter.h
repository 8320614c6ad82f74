#pragma once

#include "Media/Range/Span.h"

#include <vector>

struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace Tarsel::Media {

/// Whether packets of the audio can be cut to the sample: they are plain samples, and their times count
/// these.
bool CutsExactly(AVStream const& audio) noexcept;

/// Cuts packets that are copied to a span and moves them to its beginning. Not synchronized.
class PacketCutter {
public:
    /// `input` describes the streams; it outlives this. `video` is the index of the stream of which the span
    /// has been found to be a piece that stands alone; −1: none.
    PacketCutter(AVFormatContext const& input, int video, Span const& span);

    /// Cuts a packet with the times of its stream in the input: subtitles to the part that is shown, audio
    /// that CutsExactly to the sample; of other packets it is their start that counts, and of further video
    /// streams the first one is a key frame. False where nothing of it is wanted. Covers stay as they are.
    bool Cut(AVPacket& packet);

private:
    bool CutTimes(AVPacket& packet, AVStream const& stream);

    AVFormatContext const& m_input;
    int m_video;
    Span m_span;
    /// By stream: its first packet of the span has come.
    std::vector<bool> m_hasBegun;
};

} // namespace Tarsel::Media
