#pragma once

#include "Conf/DisplayMatrix.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Tools/Tarsel/Effects.h"

#include <string>
#include <vector>

namespace Tarsel::Tools {

/// An effect for each step as the user wrote it (see Host::ParseEffectStep and Host::MakeVideoEffect). What
/// these throw leaves with the text under Host::TagStep.
std::vector<SP<Proc::IOneInputEffectVideo>> MakeVideoEffects(Effects const& effects,
                                                             std::vector<std::string> const& steps);
std::vector<SP<Proc::IOneInputEffectAudio>> MakeAudioEffects(Effects const& effects,
                                                             std::vector<std::string> const& steps);

/// The effect that brings the pixels into the orientation that `matrix` asks viewers for. The matrix must
/// have an orientation (Conf::DisplayMatrix::GetOrientation).
SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix);

/// "step 2 (transpose)", for Host::TagStep.
std::string GetStepLabel(std::size_t index, std::string const& classId);

} // namespace Tarsel::Tools
