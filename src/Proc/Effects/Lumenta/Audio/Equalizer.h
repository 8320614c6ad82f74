#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalAudio.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Equalizer.h"

namespace Tarsel::Proc {

/// Bands of one octave, made louder or quieter.
template <>
struct EffectActionsAudio<SettingsAudioEqualizer> {
    using SettingsType = SettingsAudioEqualizer;
    static constexpr std::string_view s_settingsName = "SettingsAudioEqualizer";
    static constexpr EffectTraits s_traits{.summary = "makes bands of frequencies louder or quieter",
                                           .frameIndependent = false};

    /// Leaves out bands from half the sample rate on; "" when none are left.
    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    /// Clips real samples, into a block of their own.
    static void PostProcess(SettingsType const& settings, SP<IDataAudio>& data);
};

} // namespace Tarsel::Proc
