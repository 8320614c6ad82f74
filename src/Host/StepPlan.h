#pragma once

#include "Core/Api.h"
#include "Host/StepTimes.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <optional>
#include <string>

namespace Tarsel::Host {

/// What an effect, as a step of a chain, would do with data of one format.
template <class Format>
struct StepPlan {
    /// The work as IEffectDetails describes it, "" where data pass untouched; nothing where the effect does
    /// not tell.
    std::optional<std::string> description;
    /// Whether that is a text of FFmpeg's filters; elsewhere it is in the effect's own words (IOwnWork).
    bool isFilterText = false;
    /// Of an effect that lets all data pass untouched: "does nothing; set horizontal=1 or vertical=1", or
    /// "does nothing to this input; ..." where the settings do something to others. "" for one that works.
    std::string idle{};
    /// What the effect gets, where a chain converts to it before and back after; null elsewhere.
    SP<Format> inner{};
    SP<Format> output{};
};

/// Plans a step whose input has this format, without data; of values that move, as they end, and they are
/// taken to make it work some time. An effect that would be idle loses what it holds:
/// other settings are tried on it, and its own set again. Throws as the effect's UpdateFormatCodec and
/// Describe. As threads go, a call of the effect.
TARSEL_API StepPlan<Conf::IFormatCodecVideo> PlanStep(SP<Proc::IOneInputEffectVideo> const& effect,
                                                      Conf::IFormatCodecVideo const& input,
                                                      StepTimes const& times = {});
TARSEL_API StepPlan<Conf::IFormatCodecAudio> PlanStep(SP<Proc::IOneInputEffectAudio> const& effect,
                                                      Conf::IFormatCodecAudio const& input,
                                                      StepTimes const& times = {});

} // namespace Tarsel::Host
