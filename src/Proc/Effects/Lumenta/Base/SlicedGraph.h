#pragma once

#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"

#include <string>

namespace Tarsel::Proc {

/// A graph for frames of that format and geometry and an unknown rate, whose filters work on slices in the
/// pool of the process (Core::WorkPool) where `slices` says that they may. Throws as
/// EffectFFMPEGVideo::Create.
SP<EffectFFMPEGVideo> MakeSlicedGraph(std::string const& description, Conf::PixFmt format,
                                      Conf::FrameInfo const& info, bool slices);

} // namespace Tarsel::Proc
