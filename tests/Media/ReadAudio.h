#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Test {

/// An audio stream, decoded by plain FFmpeg calls.
struct AudioRecord {
    std::string codec;
    std::string format;
    std::string layout;
    int rate = 0;
    int channels = 0;
    /// Of the first sample, in seconds.
    double start = 0;
    /// All samples, a channel after the other at each time; integers as they are.
    std::vector<double> samples;

    double GetDuration() const { return static_cast<double>(samples.size()) / channels / rate; }
    /// Where the middle of the first channel's energy lies, in seconds.
    double GetMiddle() const;
};

/// Decodes the audio stream of that number. Throws std::runtime_error when there is none, or a gap in it.
AudioRecord ReadAudio(std::filesystem::path const& path, int number = 0);

} // namespace Tarsel::Test
