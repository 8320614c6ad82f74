#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Orientation.h"

/// Mirroring and quarter turns: pixels change places. Only formats whose chroma cannot follow are converted
/// by FFmpeg first, to limited range: 4:2:2 and its like to 4:4:4 for quarter turns, packed YUV to planar.
namespace Tarsel::Proc {

template <>
struct EffectActions<SettingsEffectFlip> {
    using SettingsType = SettingsEffectFlip;
    static constexpr std::string_view s_settingsName = "SettingsEffectFlip";
    // More threads make hflip slower (1920x1080: 0.10 ms on one, 0.13 ms on two).
    static constexpr EffectTraits s_traits{.summary = "mirrors the picture", .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static SettingsType FromProperty(Core::Property const& property);
};

template <>
struct EffectActions<SettingsEffectTranspose> {
    using SettingsType = SettingsEffectTranspose;
    static constexpr std::string_view s_settingsName = "SettingsEffectTranspose";
    static constexpr EffectTraits s_traits{.summary = "turns the picture by quarters",
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Sometimes,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static SettingsType FromProperty(Core::Property const& property);
    static void PostProcess(SettingsType const& settings, SP<IDataVideo> const& data);
    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format);
};

template <>
struct EffectActions<SettingsEffectDisplayMatrix> {
    using SettingsType = SettingsEffectDisplayMatrix;
    static constexpr std::string_view s_settingsName = "SettingsEffectDisplayMatrix";
    static constexpr EffectTraits s_traits{.summary =
                                               "turns and mirrors the picture as its orientation tag says",
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Sometimes,
                                           .slices = true};

    static bool IsEmpty(SettingsType const& settings);
    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static void PostProcess(SettingsType const& settings, SP<IDataVideo> const& data);
    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format);
};

/// Creators of these effects (see VideoEffectCreator); they use neither factory.
SP<IOneInputEffectVideo> CreateEffectFlip(SP<IEffectFactory const> const& factory,
                                          SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectTranspose(SP<IEffectFactory const> const& factory,
                                               SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectDisplayMatrix(SP<IEffectFactory const> const& factory,
                                                   SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
