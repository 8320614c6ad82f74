#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"
#include "Proc/Interfaces/IDataAudio.h"

namespace Tarsel::Proc {

// Views of the samples that a block of audio holds. The planes of a block may lie anywhere: those that FFmpeg
// allocates each have a buffer of their own. Line sizes are those of the samples alone, without padding. A
// view is valid as long as the block, and may be written through when nobody else holds the block's frame.
// EffectException for a block whose planes are larger than a line size can tell. Any thread.

/// How many planes there are: the channels of planar audio, one of packed audio.
int CountPlanes(IDataAudio const& data);

/// One plane, as planar audio of one channel; of packed audio the whole block, as plane 0. What works sample
/// by sample may be called for one plane after the other.
AudioRef GetPlaneRef(IDataAudio const& data, int plane);

} // namespace Tarsel::Proc
