#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// What becomes of a stream of the input.
enum class Fate : std::uint8_t { Drop, Copy, Encode, Convert };

struct StreamPlan {
    Fate fate = Fate::Drop;
    /// FFmpeg's name of the encoder; "" where there is none.
    std::string encoder;
    /// Of the pictures or blocks that the encoder gets: "yuv420p", "s16, 48000 Hz, stereo".
    std::string format;
    /// Why, and what it costs, one sentence each.
    std::vector<std::string> notes;
};

/// What becomes of each stream of a run's input. Complete before anything is written, and nothing departs
/// from it.
struct RunPlan {
    /// By their index in the input.
    std::vector<StreamPlan> streams;
    /// Of the file as a whole, one sentence each.
    std::vector<std::string> notes;

    /// All notes, in the order of the streams, those of the whole last.
    std::vector<std::string> ListNotes() const;
};

} // namespace Tarsel::Media
