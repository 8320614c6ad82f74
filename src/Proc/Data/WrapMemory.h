#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace Tarsel::Proc {

/// Called once, when nothing refers to the memory any more, by whichever thread lets go of it last; at once
/// where the call it was given to throws. It throws nothing itself. May be empty.
using ReleaseMemory = std::function<void()>;

/// A picture over the caller's planes: nothing is copied. The memory is only read, and stays as it is until
/// `release`: whoever writes to the picture gets a copy. Planes are those of the format, in its order (of a
/// palette format the palette, 1024 bytes, is the second); line sizes may be negative, and rows and bytes of
/// a row beyond the picture's are room that may be read too. Time and duration are 0. EffectException naming
/// the plane that is missing or too small, or for a picture that cannot be; MemoryException. Any thread.
TARSEL_API SP<IDataVideo> WrapPicture(Conf::ColorSpace const& space, Conf::PixFmt format,
                                      Conf::FrameInfo const& info, std::vector<ReadOnlyPlane> const& planes,
                                      ReleaseMemory release);

/// A block of audio over the caller's samples, in the same way: `sampleCount` samples for each channel, one
/// plane a channel where the format is planar, else one for all.
TARSEL_API SP<IDataAudio> WrapSamples(Conf::SampleInfo const& info, int sampleCount,
                                      std::vector<std::span<std::uint8_t const>> const& planes,
                                      ReleaseMemory release);

/// Planes of a block: as many as channels where its format is planar, else 1; 0 for an unknown format.
TARSEL_API int GetSamplePlaneCount(IDataAudio const& block);

/// The samples of plane `index`: one after the other in the machine's byte order, those of all channels in
/// turn where the format is not planar; empty where the block is. Valid as long as the block and until its
/// next writable samples are asked for. ProcException for a plane that the block does not have.
TARSEL_API std::span<std::uint8_t const> GetReadOnlySamples(IDataAudio const& block, int index);
/// As above; first gives the block buffers of its own where they are shared. Throws MemoryException too.
TARSEL_API std::span<std::uint8_t> GetWritableSamples(IDataAudio& block, int index);

} // namespace Tarsel::Proc
