#pragma once

#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"

#include <string>

namespace Tarsel::Proc {

/// A graph for frames of that format and geometry and an unknown rate, on up to `wanted` threads of the
/// budget. A graph that it takes the place of goes first, for its threads. Throws as
/// EffectFFMPEGVideo::Create.
SP<EffectFFMPEGVideo> MakeSlicedGraph(std::string const& description, Conf::PixFmt format,
                                      Conf::FrameInfo const& info, int wanted);

} // namespace Tarsel::Proc
