#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Stylise.h"

#include <iosfwd>

/// Pictures in another style: edges, relief, negative, few colours, a border.
namespace Tarsel::Proc {

namespace EdgeDetect {
/// Writes the option for a mode that the filter has a name for, nothing for any other: the filter's default.
void SetMode(SettingsEffectEdgeDetect::Mode mode, std::ostream& stream);
} // namespace EdgeDetect

template <>
struct EffectActions<SettingsEffectEdgeDetect> {
    using SettingsType = SettingsEffectEdgeDetect;
    static constexpr std::string_view s_settingsName = "SettingsEffectEdgeDetect";
    static constexpr EffectTraits s_traits{
        .summary = "draws the edges of the picture", .alpha = Keeps::Never, .depth = Keeps::Never};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info);
};

template <>
struct EffectActions<SettingsEffectEmboss> {
    using SettingsType = SettingsEffectEmboss;
    static constexpr std::string_view s_settingsName = "SettingsEffectEmboss";
    static constexpr EffectTraits s_traits{.summary = "makes a relief of the picture",
                                           .alpha = Keeps::Sometimes,
                                           .depth = Keeps::Sometimes,
                                           .range = Keeps::Sometimes,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    /// The filter makes a picture without an expression for alpha transparent.
    static bool KeepsAlpha(SettingsType const&) { return true; }
};

template <>
struct EffectActions<SettingsEffectNegateVideo> {
    using SettingsType = SettingsEffectNegateVideo;
    static constexpr std::string_view s_settingsName = "SettingsEffectNegateVideo";
    static constexpr EffectTraits s_traits{
        .summary = "turns channels into their negative", .alpha = Keeps::Sometimes, .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
};

template <>
struct EffectActions<SettingsEffectPosterize> {
    using SettingsType = SettingsEffectPosterize;
    static constexpr std::string_view s_settingsName = "SettingsEffectPosterize";
    // Each frame begins its search for colours where the random numbers of the one before ended.
    static constexpr EffectTraits s_traits{.summary = "reduces the picture to few colors",
                                           .alpha = Keeps::Never,
                                           .depth = Keeps::Never,
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    /// With more colors than there is use for, the filter takes minutes and gigabytes, and no signal ends it.
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info);
};

template <>
struct EffectActions<SettingsEffectBorder> {
    using SettingsType = SettingsEffectBorder;
    static constexpr std::string_view s_settingsName = "SettingsEffectBorder";
    static constexpr EffectTraits s_traits{.summary = "puts a border of one color around the picture",
                                           .roundsToChroma = true,
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Never};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    /// Gives the format the size of the frames that come out.
    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format);
};

/// Creators of these effects (see VideoEffectCreator); they use neither factory.
SP<IOneInputEffectVideo> CreateEffectEdgeDetect(SP<IEffectFactory const> const& factory,
                                                SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectEmboss(SP<IEffectFactory const> const& factory,
                                            SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectNegateVideo(SP<IEffectFactory const> const& factory,
                                                 SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectPosterize(SP<IEffectFactory const> const& factory,
                                               SP<IFactoryDataVideo const> const& data);
SP<IOneInputEffectVideo> CreateEffectBorder(SP<IEffectFactory const> const& factory,
                                            SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
