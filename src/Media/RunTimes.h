#pragma once

#include <cstdint>

namespace Tarsel::Media {

/// What a run took. Seconds of a stage are those in which it worked, not those in which it waited for another
/// stage; what decoders, effects and encoders do on threads of their own is waited for, and counts.
struct RunTimes {
    double wall = 0;
    /// Of all threads of the process meanwhile.
    double processor = 0;
    /// Reading and decoding.
    double reading = 0;
    /// The chain of effects on video, conversions for them included.
    double effects = 0;
    /// Converting for the encoder, encoding, writing, and the other streams.
    double writing = 0;
    /// Decoding, effects and encoding of the audio that is re-encoded, the sum over its streams.
    double audio = 0;
    /// The most frames at a time that had been read and not yet written; 0 where none are counted.
    int mostInFlight = 0;
    /// The most memory that the process had so far, in bytes.
    std::int64_t peakMemory = 0;
};

} // namespace Tarsel::Media
