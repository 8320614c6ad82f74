#pragma once

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Real samples into the range -1 to 1, NaN to -1, as if one after the other; `type` is Float or Double.
void ClipSamples(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count) noexcept;

} // namespace Tarsel::Proc
