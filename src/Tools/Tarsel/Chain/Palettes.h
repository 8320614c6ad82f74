#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <string>

namespace Tarsel::Tools {

/// Whether all that the output's encoder takes are pictures of few colors (.gif): then pictures want
/// palettes of their own. Throws as Media::FindVideoFormats.
bool HoldsOnlyPalettes(Media::RunOptions const& options);

/// Whether the output's encoder takes pictures with palettes. Throws as above.
bool HoldsPalettes(Media::RunOptions const& options);

/// The step that gives every picture a palette of its own; `settings` are more of it, as in a step's text
/// (see Host::ParseEffectStep), "colors=16 dither=1".
VideoStep MakePaletteStep(Effects const& effects, std::string const& settings = {});

} // namespace Tarsel::Tools
