#pragma once

#include "Core/Api.h"
#include "Host/EffectFactory.h"
#include "Host/StepTimes.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Host {

/// One step of a chain as a user writes it: an effect's class id and its settings, "transpose step=1".
struct EffectStep {
    std::string classId;
    /// "key=value:key=value:flag", for Proc::Settings::Deserialize of whatever class the effect's settings
    /// are.
    std::string settings;
    /// When it works, and what of its settings moves; for VideoChain::Append.
    StepTimes times{};
};

/// Reads "CLASS-ID key=value key=value flag"; a flag alone stands for flag=1. Blanks separate; a value with
/// blanks in it stands in single or double quotes, or has '\' before each blank. "CLASS-ID@2.5-7~0.5" and
/// "key=0..20@1-3" say when (ParseStepTimes, ParseMovingValue). SettingsException: an empty text, a quote
/// left open, a value without a key, a repeated key, and as those two. Any thread.
TARSEL_API EffectStep ParseEffectStep(std::string const& text);

/// Takes one setting out of the step: its value as the user wrote it, or nothing where it is not given. For
/// what is a setting to users and none to the effect. Any thread.
TARSEL_API std::optional<std::string> TakeSetting(EffectStep& step, std::string_view key);

/// Adds one; the value as users write it. Any thread that alone uses the step.
TARSEL_API void AddSetting(EffectStep& step, std::string_view key, std::string_view value);
/// Key and value of each, in their order; no value for a flag alone. Any thread.
TARSEL_API std::vector<std::pair<std::string, std::optional<std::string>>>
ListSettings(EffectStep const& step);

/// Makes the effect of that class, the implementation registered first, with the step's settings on top of
/// those it starts with, values that move as they begin; an effect with a switch "enabled" is on unless the
/// step says "enabled=0". SettingsException: a class that the registry does not have (the description names
/// the nearest it has) or has for another kind of input, whatever the settings' Deserialize refuses, or a
/// text for FFmpeg that would change the meaning of the filter's text (the character is named). Otherwise
/// throws what the effect throws. Any thread.
TARSEL_API SP<Proc::IOneInputEffectVideo> MakeVideoEffect(EffectFactory const& factory,
                                                          EffectStep const& step);
TARSEL_API SP<Proc::IOneInputEffectAudio> MakeAudioEffect(EffectFactory const& factory,
                                                          EffectStep const& step);
TARSEL_API SP<Proc::ITwoInputEffectVideo> MakeTwoInputVideoEffect(EffectFactory const& factory,
                                                                  EffectStep const& step);

} // namespace Tarsel::Host
