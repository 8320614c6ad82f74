#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Tarsel::Media {

/// What a run tells of a frame of video or a block of audio that goes to an encoder, or of a stream that is
/// copied.
struct FrameFacts {
    enum class Kind : std::uint8_t { Video, Audio, Copied };
    Kind kind = Kind::Copied;
    /// In the output, from 0.
    int stream = 0;
    /// FFmpeg's name of the pixel or sample format, "yuv420p", "s16"; of a copied stream that of the codec.
    std::string format;

    // Of frames and blocks alone:
    /// In ticks, each of `timeBase` seconds; a duration of 0 is not known.
    std::int64_t time = 0;
    std::int64_t duration = 0;
    Ratio timeBase;
    /// Of a frame, in pixels.
    int width = 0;
    int height = 0;
    /// Of a block: samples a second, channels, and samples of each.
    int rate = 0;
    int channels = 0;
    int samples = 0;
    /// MurmurHash3, 128 bits in hexadecimal, of the pixels as FFmpeg's raw video has them (plane by plane,
    /// rows without padding, a palette last), or of the samples, packed.
    std::string hash;
};

/// Called by one thread at a time, on threads of the run: streams that are copied first, then frames and
/// blocks in the order of their stream. The order of streams among each other may differ from run to run.
/// What it throws ends the run and leaves it.
using TellFrameFacts = std::function<void(FrameFacts const&)>;

} // namespace Tarsel::Media
