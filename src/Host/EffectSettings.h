#pragma once

#include "Core/Property.h"
#include "Proc/Interfaces/IEffect.h"
#include "Proc/Settings/Settings.h"

namespace Tarsel::Host {

/// Gives the effect what the tree says on top of the settings it has, whatever the effect itself makes of
/// trees: every field that has a child of its key (see Proc::WriteFieldsFromProperty). Settings without a
/// table of fields are left to the effect's own SetSettings. SettingsException for an illegal value, and for
/// a text that would change the meaning of FFmpeg's filter text (the character is named); then, as after the
/// effect's own exceptions, the effect has the settings of before. Threads as for the effect's SetSettings.
TARSEL_API void SetEffectSettings(Proc::IEffect& effect, Core::Property const& property);

/// Copies the settings to the effect after the same check of texts. std::bad_cast when they are of another
/// class than the effect's.
TARSEL_API void SetEffectSettings(Proc::IEffect& effect, Proc::Settings const& settings);

} // namespace Tarsel::Host
