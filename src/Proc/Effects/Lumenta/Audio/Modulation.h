#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalAudio.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Modulation.h"

/// Sound overdriven, and sound whose pitch or colour wavers.
namespace Tarsel::Proc {

template <>
struct EffectActionsAudio<SettingsAudioDistortion> {
    using SettingsType = SettingsAudioDistortion;
    static constexpr std::string_view s_settingsName = "SettingsAudioDistortion";
    // The low-pass of the soft clipper looks back.
    static constexpr EffectTraits s_traits{.summary = "overdrives sound", .frameIndependent = false};

    /// "" for a mode there is not.
    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioFlanger> {
    using SettingsType = SettingsAudioFlanger;
    static constexpr std::string_view s_settingsName = "SettingsAudioFlanger";
    static constexpr EffectTraits s_traits{.summary = "mixes sound with itself at a sweeping distance",
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    /// The filter divides by the length of a sweep in whole samples.
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioVibrato> {
    using SettingsType = SettingsAudioVibrato;
    static constexpr std::string_view s_settingsName = "SettingsAudioVibrato";
    static constexpr EffectTraits s_traits{.summary = "lets the pitch waver", .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
    /// The filter plays whatever memory its delay line got: as many whole swings of silence as fill the line,
    /// after which the next swing begins.
    static std::int64_t GetWarmUp(SettingsType const& settings, Conf::SampleInfo const& info);
};

} // namespace Tarsel::Proc
