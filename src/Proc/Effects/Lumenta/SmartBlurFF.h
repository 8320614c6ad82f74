#pragma once

#include "Proc/Effects/Lumenta/EffectFF.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Settings/SmartBlur.h"

namespace Tarsel::Proc {

/// Blurs flat areas or edges, luma and chroma apart, or sharpens them.
class SmartBlurFF final : public EffectVideoFF<IOneInputEffectVideo, SettingsEffectSmartBlur> {
public:
    /// Needs neither factory. See VideoEffectCreator.
    static SP<IOneInputEffectVideo> Create(SP<IEffectFactory const> const& factory,
                                           SP<IFactoryDataVideo const> const& data);

    SmartBlurFF() = default;

    EffectTraits const& GetTraits() const noexcept override;

private:
    ~SmartBlurFF() override = default;

    void SetSettingsImpl() override;
};

} // namespace Tarsel::Proc
