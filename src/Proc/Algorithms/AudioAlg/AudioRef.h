#pragma once

#include "Conf/SampleInfo.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// A view of one buffer of sound, which it does not own. Planes of planar formats follow one another at a
/// distance of the line size. Samples need no alignment.
struct AudioRef {
    /// Samples for each channel.
    std::uint64_t sampleCount = 0;
    Conf::SampleInfo info;
    /// The first byte.
    std::uint8_t* samples = nullptr;
    /// Bytes of one plane for planar formats, of the whole buffer for packed ones.
    std::int32_t lineSize = 0;
};

/// The first byte of a plane of a planar format.
inline std::uint8_t* GetPlane(AudioRef const& ref, std::size_t channel) noexcept {
    return ref.samples + static_cast<std::ptrdiff_t>(channel) * ref.lineSize;
}

} // namespace Tarsel::Proc
