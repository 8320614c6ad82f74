#pragma once

#include "Proc/Interfaces/IDataAudio.h"
#include "Tools/Tarsel/Audio/Levels.h"
#include "Tools/Tarsel/Audio/Spectrogram.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Preview/Sheet.h"
#include "Tools/Tarsel/Preview/Variants.h"
#include "Tools/Tarsel/Preview/VideoPreview.h"

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Audio as a picture: waveform and spectrogram. One thread at a time.
class AudioPicture {
public:
    /// Blocks of this format will come, and be drawn at most that wide.
    AudioPicture(Conf::SampleInfo const& format, std::uint32_t width);

    /// As Spectrogram::Add.
    void Add(Proc::IDataAudio const& block);
    /// The waveform, and the spectrogram with its frequencies.
    std::vector<Panel> Draw(std::uint32_t width, std::string const& label) const;

private:
    Conf::SampleInfo m_format;
    std::vector<LevelTrack> m_levels;
    Spectrogram m_spectrogram;
};

/// A row for the audio before, and one for each of the variants: waveform and spectrogram. Of a video the
/// best audio stream. `onTime` hears how far the work is, in microseconds of how many. InputException, and as
/// the effects; Media::InterruptedException. Blocks; one thread at a time.
PreviewResult DrawAudioPreview(ChainMaker& maker, Variants const& variants,
                               VideoPreviewRequest const& request,
                               std::function<void(std::int64_t, std::int64_t)> const& onTime,
                               std::stop_token const& stop);

} // namespace Tarsel::Tools
