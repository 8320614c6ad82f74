#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Core {
struct Site;
} // namespace Tarsel::Core

namespace Tarsel::Proc {

enum class SampleType : std::uint8_t { U8, S16, S32, Float, Double };

/// What the samples of a packed or planar format are. EffectException "<function> doesn't support this sample
/// format", thrown at `site`, where it is not one of the ten.
SampleType GetSampleType(AudioRef const& ref, char const* function, Core::Site const& site);

/// Bytes of a sample.
inline std::size_t GetSampleSize(AudioRef const& ref) {
    return Conf::SampleFmtRecord::Find(ref.info.format).size;
}

inline bool IsPlanar(AudioRef const& ref) {
    return Conf::SampleFmtRecord::Find(ref.info.format).planar;
}

} // namespace Tarsel::Proc
