#pragma once

#include "Proc/Settings/Field.h"

#include <memory>
#include <span>
#include <string_view>

namespace Tarsel::Proc {

/// A settings class by name.
struct SettingsClass : SettingsTable {
    /// A new object with default values.
    std::unique_ptr<Settings> (*create)();
};

/// Every settings class of this library, in the order in which the effects are registered. Lives as long as
/// the library; any thread, static initialisers included.
TARSEL_API std::span<SettingsClass const> GetSettingsCatalogue() noexcept;

/// The class of that id, or null.
TARSEL_API SettingsClass const* FindSettingsClass(std::string_view classId) noexcept;

} // namespace Tarsel::Proc
