#pragma once

#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Settings/SettingsOf.h"

#include <cstdint>

/// How much light an effect takes away. Its fields stand in a table (Dim.cpp), from which come defaults,
/// ranges, help, equality, and reading and writing as text and property tree.
class SettingsDim : public Tarsel::Proc::SettingsOf<SettingsDim> {
public:
    static std::string const CLASS_ID;
    static Tarsel::Proc::SettingsTable const& GetTable() noexcept;

    SettingsDim() { SetDefaults(); }
    bool IsEmpty() const override { return percent == 0; }

    std::int32_t percent{};
};

/// Makes an effect that darkens frames of planar YUV, and says so in its traits: hosts convert others.
Tarsel::SP<Tarsel::Proc::IOneInputEffectVideo>
CreateDim(Tarsel::SP<Tarsel::Proc::IEffectFactory const> const& effects,
          Tarsel::SP<Tarsel::Proc::IFactoryDataVideo const> const& frames);
