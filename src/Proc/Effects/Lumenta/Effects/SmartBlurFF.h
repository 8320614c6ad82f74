#pragma once

#include "Proc/Effects/Lumenta/Base/EffectFF.h"
#include "Proc/Settings/SmartBlur.h"

namespace Tarsel::Proc {

/// Blurs flat areas or edges, luma and chroma apart, or sharpens them.
class SmartBlurFF final : public EffectVideoFF<IOneInputEffectVideo, SettingsEffectSmartBlur> {
public:
    EffectTraits const& GetTraits() const noexcept override;

private:
    ~SmartBlurFF() override = default;

    void SetSettingsImpl() override;
};

} // namespace Tarsel::Proc
