#pragma once

#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Colors of a palette beside black and the one that is clear.
constexpr int s_mostBesideClear = 254;

/// Gives frames palettes of opaque colors by `opaque`, and those with clear pixels by `reduced`, which makes
/// at most s_mostBesideClear of them, and the last entry is clear. A pixel is clear or opaque by which it is
/// nearer to. `toRgba` makes RGBA of frames with alpha. `losses` is set once a pixel was neither.
SP<Proc::IOneInputEffectVideo> MakeClearPalettes(SP<Proc::IOneInputEffectVideo> opaque,
                                                 SP<Proc::IOneInputEffectVideo> reduced,
                                                 SP<Proc::IOneInputEffectVideo> toRgba,
                                                 std::shared_ptr<std::atomic<bool>> losses);

/// What such an effect lost, one sentence each; none of other effects.
std::vector<std::string> DescribeClearPalettes(Proc::IOneInputEffectVideo const& effect);

} // namespace Tarsel::Tools
