#pragma once

namespace Tarsel::Proc {

/// Keys of an effect's settings when stored as a preset.
struct IPreset {
    /// Holds the implementation name.
    static constexpr char const* KEY_TYPE_ID = "typeId";
};

} // namespace Tarsel::Proc
