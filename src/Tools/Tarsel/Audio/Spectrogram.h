#pragma once

#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tarsel::Tools {

/// Frequencies of audio over time: the mean power of its channels in windows of 2048 samples (Hann), by
/// FFmpeg's Fourier transform. Memory does not grow with the length: there are never more than 4096 columns;
/// whenever there would be, each two become their mean. Not synchronized.
class Spectrogram {
public:
    /// Blocks of this format will come. EffectException for one that is not known; MemoryException.
    explicit Spectrogram(Conf::SampleInfo const& format);
    Spectrogram(Spectrogram&& other) noexcept;
    ~Spectrogram();

    /// The block is read, not kept. EffectException for one of another format; MemoryException.
    void Add(Proc::IDataAudio const& block);

    /// Packed RGB of that size, both sides above 0: time from left to right, the frequencies from 40 Hz to
    /// half the sample rate from bottom to top, each octave as high as another; from -100 dB of a full-scale
    /// sine (black) to 0 dB (white). MemoryException.
    SP<Proc::IDataVideo> Draw(std::uint32_t width, std::uint32_t height) const;
    /// The row of such a picture that shows a frequency; 0 for those too high.
    std::uint32_t GetRow(double hertz, std::uint32_t height) const;

private:
    struct Transform;

    void AddWindow();

    Conf::SampleInfo m_format;
    Conf::SampleInfo m_planar;
    /// Empty where blocks are planar floats already.
    Proc::SafeSwrContext m_converter;
    std::unique_ptr<Transform> m_transform;
    /// Of each channel, the samples that no window has begun behind yet.
    std::vector<std::vector<float>> m_samples;
    /// The power of each frequency, a full-scale sine being 1.
    std::vector<std::vector<float>> m_columns;
    /// The one that is being summed up, of so many windows.
    std::vector<float> m_sum;
    std::size_t m_summed = 0;
    std::size_t m_windowsAColumn = 1;
};

} // namespace Tarsel::Tools
