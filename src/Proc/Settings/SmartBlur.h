#pragma once

#include "Proc/Settings/SettingsOf.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Blurs without touching outlines, or sharpens; luma and chroma apart. What counts is strength minus offset:
/// below 0 sharpens; −100 and 100 are the filter's ends, and what lies beyond them it refuses. Empty when
/// both differences are 0.
class TARSEL_API SettingsEffectSmartBlur : public SettingsOf<SettingsEffectSmartBlur> {
public:
    static std::string const CLASS_ID;
    static SettingsTable const& GetTable() noexcept;

    SettingsEffectSmartBlur() { SetDefaults(); }
    bool IsEmpty() const override;

    /// From 1 to 100.
    std::int32_t lumaRadius{};
    std::int32_t chromaRadius{};
    /// All others from −100 to 100.
    std::int32_t lumaStrength{};
    std::int32_t chromaStrength{};
    std::int32_t lumaStrengthOffset{};
    std::int32_t chromaStrengthOffset{};
    std::int32_t lumaThreshold{};
    std::int32_t chromaThreshold{};
};

} // namespace Tarsel::Proc
