#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

// Views of the samples that a block of sound holds. The planes of a block may lie anywhere: those that FFmpeg
// allocates each have a buffer of their own. Line sizes are those of the samples alone, without padding. A
// view is valid as long as the block, and may be written through when nobody else holds the block's frame.
// EffectException for a block whose planes are larger than a line size can tell. Any thread.

/// How many planes there are: the channels of planar sound, one of packed sound.
int CountPlanes(IDataAudio const& data);

/// One plane, as planar sound of one channel; of packed sound the whole block, as plane 0. What works sample
/// by sample may be called for one plane after the other.
AudioRef GetPlaneRef(IDataAudio const& data, int plane);

/// All planes as one view, for reading: of the block itself where they follow one another at a distance of
/// the frame's line size (which then counts its padding too), otherwise of a copy. The block has to outlive
/// it.
class JoinedAudio {
public:
    explicit JoinedAudio(IDataAudio const& data);
    JoinedAudio(JoinedAudio const&) = delete;
    JoinedAudio& operator=(JoinedAudio const&) = delete;

    AudioRef const& GetRef() const noexcept { return m_ref; }

private:
    AudioRef m_ref;
    std::vector<std::uint8_t> m_copy;
};

} // namespace Tarsel::Proc
