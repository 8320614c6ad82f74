#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Colour.h"

namespace Tarsel::Proc {

/// Gaussian blur, by pixels or by percents of the frame's size.
template <>
struct EffectActions<SettingsEffectBlur> {
    using SettingsType = SettingsEffectBlur;
    static constexpr std::string_view s_settingsName = "SettingsEffectBlur";
    static constexpr EffectTraits s_traits{.summary = "blurs the picture",
                                           .alpha = Keeps::Sometimes,
                                           .depth = Keeps::Sometimes,
                                           .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info);
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info);
};

/// Creator of this effect (see VideoEffectCreator); it uses neither factory.
SP<IOneInputEffectVideo> CreateEffectBlur(SP<IEffectFactory const> const& factory,
                                          SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
