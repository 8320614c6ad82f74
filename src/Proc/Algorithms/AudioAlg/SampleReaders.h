#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"
#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <vector>

namespace Tarsel::Proc {

// Each appends one sample of every channel, as a real number; see GetAudioSamples.

template <class Traits>
void GetInterleavedSamples(AudioRef const& ref, int sampleIndex, std::vector<double>& out) {
    using Sample = typename Traits::Type;
    std::ptrdiff_t const channels = ref.info.layout.channels;
    std::uint8_t const* at = ref.samples + sampleIndex * channels * std::ptrdiff_t{sizeof(Sample)};
    for (std::ptrdiff_t c = 0; c < channels; ++c, at += sizeof(Sample))
        out.push_back(Traits::ToReal(ReadSample<Sample>(at)));
}

template <class Traits>
void GetPlanarSamples(AudioRef const& ref, int sampleIndex, std::vector<double>& out) {
    using Sample = typename Traits::Type;
    std::ptrdiff_t const offset = sampleIndex * std::ptrdiff_t{sizeof(Sample)};
    for (std::size_t c = 0; c < ref.info.layout.channels; ++c)
        out.push_back(Traits::ToReal(ReadSample<Sample>(GetPlane(ref, c) + offset)));
}

} // namespace Tarsel::Proc
