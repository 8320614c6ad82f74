#include "Proc/Settings/Settings.h"

#include "Proc/Settings/Field.h"

namespace Tarsel::Proc {

Settings::~Settings() = default;

std::span<Field const> Settings::GetFields() const {
    return GetClassTable().fields;
}

} // namespace Tarsel::Proc
