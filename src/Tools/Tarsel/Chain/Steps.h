#pragma once

#include "Conf/DisplayMatrix.h"
#include "Host/StepTimes.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/References.h"

#include <functional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A step as the user wrote it, and what it is called in a chain, "step 2 (transpose)".
struct StepText {
    std::string text;
    std::string label;
};

/// The steps of a chain, numbered in their order. What Host::ParseEffectStep throws leaves with the text
/// under Host::TagStep.
std::vector<StepText> LabelSteps(std::vector<std::string> const& steps);

/// The steps of a chain, those on the picture apart from those on audio.
struct SortedSteps {
    std::vector<StepText> picture;
    std::vector<StepText> audio;
};

/// Steps whose effect the registry has for audio are on audio; all others are on the picture, where it turns
/// out what they are. Throws as LabelSteps.
SortedSteps SortSteps(Effects const& effects, std::vector<std::string> const& steps);

/// An effect that has its settings, and what it is called in a chain; "" leaves that to the chain.
template <class Effect>
struct Step {
    SP<Effect> effect;
    std::string label;
    /// Makes another one, with the settings of the step; null where there can be only one.
    std::function<SP<Effect>()> another{};
    Host::StepTimes times{};
};
using VideoStep = Step<Proc::IOneInputEffectVideo>;
using AudioStep = Step<Proc::IOneInputEffectAudio>;

/// An effect for each step (see Host::ParseEffectStep and Host::MakeVideoEffect). What these throw leaves
/// with the text under Host::TagStep. A two-input effect takes one setting more, "reference=FILE", and its
/// second frames from there: the file is added to `references`. SettingsException without it.
std::vector<VideoStep> MakePictureSteps(Effects const& effects, std::vector<StepText> const& steps,
                                        References& references);
std::vector<AudioStep> MakeAudioSteps(Effects const& effects, std::vector<StepText> const& steps);

/// The effect that brings the pixels into the orientation that `matrix` asks viewers for. The matrix must
/// have an orientation (Conf::DisplayMatrix::GetOrientation).
SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix);

} // namespace Tarsel::Tools
