#pragma once

#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Multiplies samples by a volume, as if one after the other:
/// - u8: q = ((s - 128) F + 128) >> 8, kept in 16 bits, saturated to -128 to 127, and 128 added again;
/// - s16, s32: (s F + 128) >> 8, saturated;
/// - real samples: s * volume in double, clipped to -1 to 1, NaN to -1.
/// F is volume * 256 + 0.5 (fused) truncated to 32 bits, for s32 to 64 bits; it saturates, and is 0 for NaN.
/// Products are exact.
void ScaleSamples(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count,
                  double volume) noexcept;

} // namespace Tarsel::Proc
