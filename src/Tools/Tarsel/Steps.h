#pragma once

#include "Conf/DisplayMatrix.h"
#include "Host/EffectStep.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Tools/Tarsel/Effects.h"

#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The steps of a chain as the user wrote them. Proc::SettingsException with the text under Host::TagStep.
std::vector<Host::EffectStep> ParseSteps(std::vector<std::string> const& texts);

/// An effect for each step, with the step's settings. UsageException, with the step under Host::TagStep, for
/// one that the plug-in does not offer, or that works on something else.
std::vector<SP<Proc::IOneInputEffectVideo>> MakeVideoEffects(Effects const& effects,
                                                             std::vector<Host::EffectStep> const& steps);
std::vector<SP<Proc::IOneInputEffectAudio>> MakeAudioEffects(Effects const& effects,
                                                             std::vector<Host::EffectStep> const& steps);

/// The effect that brings the pixels into the orientation that `matrix` asks viewers for. The matrix must
/// have an orientation (Conf::DisplayMatrix::GetOrientation).
SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix);

/// "step 2 (transpose)", for Host::TagStep.
std::string GetStepLabel(std::size_t index, std::string const& classId);

} // namespace Tarsel::Tools
