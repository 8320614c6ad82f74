#pragma once

#include "Core/Api.h"
#include "Proc/Settings/Settings.h"

#include <memory>
#include <string>

namespace Tarsel::Host {

/// One step of a chain as a user writes it: an effect's class id and its settings, "transpose step=1".
struct EffectStep {
    std::string classId;
    std::unique_ptr<Proc::Settings> settings;
};

/// Reads "CLASS-ID key=value key=value". Blanks separate; a value with blanks in it stands in single or
/// double quotes, or has '\' before each blank. SettingsException: an unknown class (the description names
/// the nearest known one), a word without '=', a repeated key, whatever Settings::Deserialize refuses, or a
/// text for FFmpeg that would change the meaning of the filter's text (the character is named). Any thread.
TARSEL_API EffectStep ParseEffectStep(std::string const& text);

} // namespace Tarsel::Host
