#pragma once

#include "Core/Property.h"
#include "Proc/Settings/Field.h"

namespace Tarsel::Proc {

/// A container named by the class id with one child a field: bool for flags, int64 for integers, double for
/// reals, string for all else (as ToText writes it). Any thread.
TARSEL_API Core::Property Settings2Property(Settings const& settings);

/// Writes every field that has a child of its key; children of other keys are passed over. A child of
/// another type is read by its text ("1" or 1 for a flag, 2 for a word). SettingsException, as for text, on
/// an illegal value, on a child that is empty or a container, and on values that contradict one another
/// (CheckSettings); then fields may have changed.
TARSEL_API void WriteFieldsFromProperty(Settings& settings, Core::Property const& property);

/// The settings that `property` holds; a missing child is the default. Errors as above.
template <class S>
S Property2Settings(Core::Property const& property) {
    S settings;
    WriteFieldsFromProperty(settings, property);
    return settings;
}

} // namespace Tarsel::Proc
