#pragma once

#include <cstdint>

namespace Tarsel::Media {

/// How far a run is.
struct RunProgress {
    /// 0 to 1, by the time of the pictures, or of the audio where there are none; negative when the length is
    /// not known.
    double done = -1;
    std::int64_t frames = 0;
    double framesPerSecond = 0;
    /// Negative when not known.
    double secondsLeft = -1;
    /// Of audio, as far as it has come; where there are several streams, of the longest.
    double audioSeconds = 0;
};

} // namespace Tarsel::Media
