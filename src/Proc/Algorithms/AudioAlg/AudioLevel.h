#pragma once

#include "Proc/Algorithms/AudioAlg/AddLevel.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// EstimateLevel of samples of the type Traits::Type; whether they are planar the format tells.
template <class Traits>
AudioLevelInfo EstimateLevel(AudioRef const& ref) {
    std::size_t const channels = ref.info.layout.channels;
    LevelSums sums;
    if (IsPlanar(ref))
        for (std::size_t c = 0; c < channels; ++c)
            AddLevel(Traits::SAMPLE_TYPE, GetPlane(ref, c), ref.sampleCount, sums);
    else
        AddLevel(Traits::SAMPLE_TYPE, ref.samples, ref.sampleCount * channels, sums);
    // Counted in 32 bits, so that a block of 2^31 samples has no level.
    auto const count = static_cast<std::int32_t>(static_cast<std::uint32_t>(ref.sampleCount) *
                                                 static_cast<std::uint32_t>(channels));
    return {sums.highest, count < 1 ? 0.0 : std::sqrt(sums.squares / count)};
}

} // namespace Tarsel::Proc
