#pragma once

#include "Proc/Effects/Lumenta/EffectFafloplalAudio.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Delay.h"

/// Sound that comes back later.
namespace Tarsel::Proc {

template <>
struct EffectActionsAudio<SettingsAudioEcho> {
    using SettingsType = SettingsAudioEcho;
    static constexpr std::string_view s_settingsName = "SettingsAudioEcho";
    static constexpr EffectTraits s_traits{.summary = "adds echoes", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioChorus> {
    using SettingsType = SettingsAudioChorus;
    static constexpr std::string_view s_settingsName = "SettingsAudioChorus";
    static constexpr EffectTraits s_traits{
        .summary = "adds voices that follow at a wavering distance", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    /// The filter reads past its tables where a voice wavers faster than samples come, or by a negative
    /// depth.
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
};

template <>
struct EffectActionsAudio<SettingsAudioReverb> {
    using SettingsType = SettingsAudioReverb;
    static constexpr std::string_view s_settingsName = "SettingsAudioReverb";
    static constexpr EffectTraits s_traits{
        .summary = "adds a small room", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info);
    static void CheckFormat(SettingsType const& settings, Conf::SampleInfo const& info);
};

} // namespace Tarsel::Proc
