#pragma once

#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Takes in samples that follow one another: highest = v where highest < v, the other way round for lowest;
/// squares = v v + squares, fused, one sample after the other. That chain of additions, each of which waits
/// for the one before, is all that takes time.
void AddLevel(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept;

/// The same without the squares.
void AddRange(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept;

} // namespace Tarsel::Proc
