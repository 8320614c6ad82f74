#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Whether all that the output's encoder takes are pictures of few colors (.gif): then pictures want
/// palettes of their own. Throws as Media::FindVideoFormats.
bool HoldsOnlyPalettes(Media::RunOptions const& options);

/// Whether the output's encoder takes pictures with palettes. Throws as above.
bool HoldsPalettes(Media::RunOptions const& options);

/// The step that gives every picture a palette of its own; `settings` are more of it, as in a step's text
/// (see Host::ParseEffectStep), "colors=16 dither=1". With `keepsClear` what is more clear than not stays
/// clear; otherwise a background shows through. SettingsException.
VideoStep MakePaletteStep(Effects const& effects, std::string const& settings, bool keepsClear);

/// What the step lost of its pictures, one sentence each. Once the run is over.
std::vector<std::string> DescribePalettes(VideoStep const& step);

} // namespace Tarsel::Tools
