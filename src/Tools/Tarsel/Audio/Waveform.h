#pragma once

#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Tools/Tarsel/Audio/Levels.h"

#include <cstdint>

namespace Tarsel::Tools {

/// Draws the levels as a waveform, packed RGB, width by height pixels (both above 0; at least a row of pixels
/// for each channel, or those without one are not shown): a lane for each channel, from 1 at its top to -1 at
/// its bottom, time from left to right. Of each column the range from lowest to highest sample is filled,
/// that of the rms brighter, and in red where a sample reaches full scale. The track has at least a row for
/// each column, or as many as there are samples: shorter audio is stretched. MemoryException.
SP<Proc::IDataVideo> DrawWaveform(LevelTrack const& track, std::uint32_t width, std::uint32_t height);

} // namespace Tarsel::Tools
