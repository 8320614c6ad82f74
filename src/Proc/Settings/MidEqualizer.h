#pragma once

#include "Proc/Settings/SettingsOf.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Gives two pictures of one scene the same histogram, midway between theirs. Empty when no plane is named.
class TARSEL_API SettingsEffectMidEqualizer : public SettingsOf<SettingsEffectMidEqualizer> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectMidEqualizer() { SetDefaults(); }
    bool IsEmpty() const override;

    /// Bit n for plane n.
    std::int32_t planes{};
};

} // namespace Tarsel::Proc
