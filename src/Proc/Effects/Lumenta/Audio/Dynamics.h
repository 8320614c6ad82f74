#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalAudio.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Dynamics.h"

/// Sound made louder or quieter by how loud it is.
namespace Tarsel::Proc {

template <>
struct EffectActionsAudio<SettingsAudioCompressor> {
    using SettingsType = SettingsAudioCompressor;
    static constexpr std::string_view s_settingsName = "SettingsAudioCompressor";
    static constexpr EffectTraits s_traits{.summary = "makes loud sound less loud",
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioGate> {
    using SettingsType = SettingsAudioGate;
    static constexpr std::string_view s_settingsName = "SettingsAudioGate";
    static constexpr EffectTraits s_traits{.summary = "makes quiet sound quieter", .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioNoiseGate> {
    using SettingsType = SettingsAudioNoiseGate;
    static constexpr std::string_view s_settingsName = "SettingsAudioNoiseGate";
    static constexpr EffectTraits s_traits{
        .summary = "cuts off sound below a level", .frameIndependent = false, .delayTime = 100000};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    static SettingsType FromProperty(Core::Property const& property);
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
};

} // namespace Tarsel::Proc
