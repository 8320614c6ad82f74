#pragma once

#include "Proc/Settings/Field.h"

#include <string>

namespace Tarsel::Proc {

/// All fields as "key=value:key=value" in the order of the table, with '\' before each ':' and '\' of a
/// value; the same in every locale. Deserialize makes an equal object of it. Any thread.
TARSEL_API std::string Serialize(Settings const& settings);

/// What Settings::Deserialize does, but for all or nothing: fields before the one refused may have changed.
/// The fields are written in the order of the table, whatever their order in the text.
TARSEL_API void DeserializeFields(Settings& settings, std::string_view text);

} // namespace Tarsel::Proc
