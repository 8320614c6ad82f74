#pragma once

#include "Conf/DisplayMatrix.h"
#include "Host/EffectStep.h"
#include "Media/StreamChoice.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/References.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The steps of a chain as the command line has them.
struct StepArguments {
    /// A chain file, whose steps come first; "" for none.
    std::string chainFile;
    /// As Host::ParseEffectStep reads them.
    std::vector<std::string> effects;
    /// The text of a chain file, whose steps come before all others; "" for none.
    std::string chainText{};

    bool IsEmpty() const noexcept { return chainFile.empty() && effects.empty() && chainText.empty(); }
};

/// A step as it was asked for.
struct AskedStep {
    Host::EffectStep step;
    /// Where, for messages: "-e \"flip\"", "soft.json:4".
    std::string origin;
    /// What it is called in a chain, "step 2 (transpose)".
    std::string label;
    /// The audio that it is meant for.
    Media::StreamChoice audio{};
};

/// "1" or, by language, "fra"; nothing for a text that is neither.
std::optional<Media::StreamChoice> ParseStreamChoice(std::string const& text);
/// Such a text; "" for all streams.
std::string ToText(Media::StreamChoice const& choice);

/// The steps of a chain, numbered in their order; "audio:1/reverb" and "audio:fra/reverb" are meant for one
/// audio stream, as "stream" says it in a file. What Host::ParseEffectStep and Host::ReadChain throw leaves
/// with the origin under Host::TagStep; Media::InputException for a file that cannot be read.
std::vector<AskedStep> ReadSteps(StepArguments const& arguments);

/// The steps as a chain file has them. Any thread.
std::string WriteChain(std::vector<AskedStep> const& steps);

/// The steps of a chain, those on the picture apart from those on audio.
struct SortedSteps {
    std::vector<AskedStep> picture;
    std::vector<AskedStep> audio;
};

/// Steps whose effect the registry has for audio are on audio; all others are on the picture, where it turns
/// out what they are. SettingsException for one on pictures that is meant for an audio stream. Any thread.
SortedSteps SortSteps(Effects const& effects, std::vector<AskedStep> steps);

/// An effect that has its settings, and what it is called in a chain; "" leaves that to the chain.
template <class Effect>
struct Step {
    SP<Effect> effect;
    std::string label;
    /// Makes another one, with the settings of the step; null where there can be only one.
    std::function<SP<Effect>()> another{};
    Host::StepTimes times{};
    /// The audio that it is meant for.
    Media::StreamChoice stream{};
};
using VideoStep = Step<Proc::IOneInputEffectVideo>;
using AudioStep = Step<Proc::IOneInputEffectAudio>;

/// An effect for each step (see Host::MakeVideoEffect). What this throws leaves with the origin under
/// Host::TagStep. A two-input effect takes one setting more, "reference=FILE", and its second frames from
/// there: the file is added to `references`. SettingsException without it.
std::vector<VideoStep> MakePictureSteps(Effects const& effects, std::vector<AskedStep> const& steps,
                                        References& references);
std::vector<AudioStep> MakeAudioSteps(Effects const& effects, std::vector<AskedStep> const& steps);

/// The effect that brings the pixels into the orientation that `matrix` asks viewers for. The matrix must
/// have an orientation (Conf::DisplayMatrix::GetOrientation).
SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix);

} // namespace Tarsel::Tools
