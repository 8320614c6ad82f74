#pragma once

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// Samples that follow one another and go into a mix.
struct MixedSamples {
    std::uint8_t const* samples = nullptr;
    std::size_t count = 0;
    double volume = 0;
    /// Of 8-bit samples: the volumes of this source and, in the upper 16 bits, of the next one.
    std::uint32_t factors = 0;
};

/// The sources of a mix, each with its linear volume.
///
/// Volumes are held within -2^64 and 2^64, and one that is no number is 0: then no sum is too large for its
/// type, and all are far beyond where every sample saturates. Those of 8-bit samples are held within -127 and
/// 127 (with more than 258 sources within 2^15 divided by their number), where every sample but silence
/// saturates, and rounded to a multiple of 2^-bits that fits 16 bits.
struct Mix {
    explicit Mix(std::vector<double> const& volumes);

    std::vector<MixedSamples> sources;
    /// 8 to 15, as many as let all factors fit.
    int bits = 15;
    /// What the sum of factor * sample lacks to be the sum of factor * (sample - 128), rounded and raised by
    /// 128.
    std::int32_t offset = 0;
};

/// Sets `count` samples to the sums of the sources' samples from number `first` on, each times its volume,
/// added in the order of the sources; a source is silent after its end. Sums (and volumes) are exact for u8,
/// float for s16, else double. Integers are rounded to the nearest, halves upwards for u8, else to even, and
/// saturated; real samples are clipped to -1 to 1, NaN to -1. `dst` may be where a source's samples are read,
/// and may not overlap them otherwise.
void SumSamples(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                Mix const& mix) noexcept;

} // namespace Tarsel::Proc
