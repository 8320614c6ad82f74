#pragma once

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarsel::Proc {

/// Samples that follow one another, and the linear volume that they are mixed with, which is held within
/// these limits: then no sum of integers is too large for its type. They are far beyond where every sample
/// saturates.
struct MixedSamples {
    static constexpr double LARGEST_VOLUME = 0x1p64;

    std::uint8_t const* samples;
    std::size_t count;
    double volume;
};

/// Sets `count` samples to the sums of the sources' samples from number `first` on, each times its volume,
/// added in the order of the sources; a source is silent after its end. Sums (and volumes) are float for u8
/// and s16, else double. Integers are rounded to the nearest, halves to even, and saturated; real samples are
/// clipped to -1 to 1, NaN to -1. `dst` may be where a source's samples are read, and may not overlap them
/// otherwise.
void SumSamples(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                std::span<MixedSamples const> sources) noexcept;

} // namespace Tarsel::Proc
