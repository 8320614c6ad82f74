#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Audio/Loudness.h"

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// How loud audio is to be.
struct LoudnessTarget {
    /// Integrated, in LUFS.
    double loudness = 0;
    /// The most that peaks may reach, in dBTP.
    double peak = -1;
};

/// "-16LUFS", "-16LUFS,-1.5dBTP". UsageException.
LoudnessTarget ParseLoudnessTarget(std::string const& text);

/// Brings audio streams to a loudness: each is read and measured first as it comes out of its effects, then
/// gets a gain, and behind it a limiter where peaks would be above the bound.
class Normalizer {
public:
    /// `makeEffects` may be empty. UsageException where loudness cannot be measured.
    /// `range` is that of the run.
    Normalizer(LoudnessTarget const& target, Media::Input input, Media::TimeRange const& range,
               Media::MakeAudioEffects makeEffects, std::stop_token stop);

    /// Hears how far the measuring is; may be empty.
    void ReportTo(std::function<void(Media::RunProgress const&)> onProgress) {
        m_onProgress = std::move(onProgress);
    }
    /// Reads the stream and makes the work on it. InputException, InterruptedException; what `makeEffects`
    /// and its effects throw.
    Media::AudioEffects Make(Media::AudioStreamInfo const& stream);
    /// What became of each stream.
    std::vector<std::string> GetNotes() const;

private:
    struct Change {
        /// Linear, full scale being 1; a limit of 0 is none.
        double gain = 1;
        double limit = 0;
    };
    struct Measured {
        Loudness loudness;
        double leastGain = 1;
    };
    struct Note {
        int stream;
        std::string text;
    };

    Measured Measure(Media::AudioStreamInfo const& stream, Change const& change) const;
    Media::AudioEffects MakeEffects(Media::AudioStreamInfo const& stream) const;

    LoudnessTarget m_target;
    Media::Input m_input;
    Media::TimeRange m_range;
    Media::MakeAudioEffects m_makeEffects;
    std::stop_token m_stop;
    std::function<void(Media::RunProgress const&)> m_onProgress;
    std::vector<Note> m_notes;
};

} // namespace Tarsel::Tools
