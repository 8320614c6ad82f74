#pragma once

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// What is known of the samples seen so far, full scale being 1.0.
struct LevelSums {
    double peak = 0.0;
    double squares = 0.0;
};

/// Takes in samples that follow one another: peak = v where peak < v; squares = v v + squares, fused, one
/// sample after the other. That chain of additions, each of which waits for the one before, is all that takes
/// time.
void AddLevel(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept;

} // namespace Tarsel::Proc
