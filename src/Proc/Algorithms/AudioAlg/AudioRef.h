#pragma once

#include "Conf/SampleInfo.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// A view of one buffer of audio, which it does not own. Planes of planar formats follow one another at a
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

/// `count` samples of each channel from number `first` on, of packed audio or of one plane.
inline AudioRef GetPart(AudioRef ref, std::uint64_t first, std::uint64_t count) noexcept {
    Conf::SampleFmtRecord const& format = Conf::SampleFmtRecord::Find(ref.info.format);
    std::uint64_t const size =
        format.size * std::uint64_t{format.planar ? std::uint8_t{1} : ref.info.layout.channels};
    ref.samples += first * size;
    ref.sampleCount = count;
    ref.lineSize = static_cast<std::int32_t>(count * size);
    return ref;
}

} // namespace Tarsel::Proc
