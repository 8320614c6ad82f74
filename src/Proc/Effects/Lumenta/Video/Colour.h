#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Colour.h"

/// Colours shifted and mixed, in RGB: FFmpeg converts YUV to it and does not convert back.
namespace Tarsel::Proc {

template <>
struct EffectActions<SettingsEffectBalanceChroma> {
    using SettingsType = SettingsEffectBalanceChroma;
    static constexpr std::string_view s_settingsName = "SettingsEffectBalanceChroma";
    static constexpr EffectTraits s_traits{.summary = "shifts colors in shadows, midtones and highlights",
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
};

template <>
struct EffectActions<SettingsEffectColorChannelMixer> {
    using SettingsType = SettingsEffectColorChannelMixer;
    static constexpr std::string_view s_settingsName = "SettingsEffectColorChannelMixer";
    static constexpr EffectTraits s_traits{
        .summary = "makes each channel of a sum of all four", .alpha = Keeps::Sometimes, .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    /// The filter looks samples up in tables that end where their depth ends. YUV comes to it as RGB from
    /// the scaler, which keeps to the depth.
    static void CheckFrame(SettingsType const& settings, IDataVideo const& data);
};

/// Creators of these effects (see VideoEffectCreator); they use neither factory.
SP<IOneInputEffectVideo> CreateEffectBalanceChroma(SP<IEffectFactory const> const& factory,
                                                   SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectColorChannelMixer(SP<IEffectFactory const> const& factory,
                                                       SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
