#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"

#include <cstddef>
#include <span>

namespace Tarsel::Proc {

// What a meter needs: the level of each channel, taken in piece by piece, each sample read once. Any of the
// ten formats; EffectException "<function> doesn't support this sample format" for another one. Any thread,
// as long as no other writes to the samples.

/// What is known of the samples of a channel so far, full scale being 1.0 (see GetAudioSamples).
struct LevelSums {
    /// 0 where no sample is above it, and below it.
    double highest = 0.0;
    double lowest = 0.0;
    /// The sum of the samples' squares.
    double squares = 0.0;
};

/// Takes in `count` samples of each channel from number `first` on: one element of `sums` for each channel of
/// `ref`.
void AddLevels(AudioRef const& ref, std::size_t first, std::size_t count, std::span<LevelSums> sums);

/// The largest magnitude of all samples of all channels, full scale being 1.0.
double FindPeak(AudioRef const& ref);

} // namespace Tarsel::Proc
