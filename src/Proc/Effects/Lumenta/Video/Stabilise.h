#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Stabilise.h"

/// Camera shake taken out.
namespace Tarsel::Proc {

template <>
struct EffectActions<SettingsEffectDeshake> {
    using SettingsType = SettingsEffectDeshake;
    static constexpr std::string_view s_settingsName = "SettingsEffectDeshake";
    static constexpr EffectTraits s_traits{.summary = "takes out camera shake in one pass",
                                           .alpha = Keeps::Never,
                                           .depth = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static SettingsType FromProperty(Core::Property const& property);
};

/// Two passes over a clip, each by an effect of its own or by one whose settings change in between. The file
/// of the first is complete when its graph is gone: after End, Reset, other settings, or the effect's end.
template <>
struct EffectActions<SettingsEffectStabilizer> {
    using SettingsType = SettingsEffectStabilizer;
    static constexpr std::string_view s_settingsName = "SettingsEffectStabilizer";
    static constexpr EffectTraits s_traits{.summary = "takes out camera shake in two passes",
                                           .takes = Takes::PlanarYuv,
                                           .evenSize = true,
                                           .depth = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false};

    /// EffectException "File with statistics unavailable" for the second pass without the file of the first.
    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    /// A detection that is built empties its file at once.
    static std::string GetQueryFFString(SettingsType settings, Conf::FrameInfo const& info);
    static SettingsType FromProperty(Core::Property const& property);
    /// The filters end the process for odd sizes, for RGB and what FFmpeg would turn into it, and the first
    /// pass for frames that are much too low.
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info);
};

/// Creators of these effects (see VideoEffectCreator); they use neither factory.
SP<IOneInputEffectVideo> CreateEffectDeshake(SP<IEffectFactory const> const& factory,
                                             SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectStabilizer(SP<IEffectFactory const> const& factory,
                                                SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
