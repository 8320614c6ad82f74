#include "Proc/Settings/Delay.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/DelayMemory.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>

/// Audio that comes back later.
namespace Tarsel::Proc {
namespace {

using Echo = SettingsAudioEcho::Echo;
using Voice = SettingsAudioChorus::Voice;

/// As std::to_string writes it in the classic locale.
std::string ToFixed(double value) {
    return fmt::format("{:f}", value);
}

template <class List, class Transform>
std::string Join(List const& list, Transform const& transform) {
    return Core::Utils::ToString(list, "|", transform);
}

/// In milliseconds.
float GetScaledDelay(SettingsAudioEcho const& settings, Echo const& echo) {
    return settings.delayScale * static_cast<float>(echo.delay);
}

/// In milliseconds.
float GetReverbDelay(SettingsAudioReverb const& settings) {
    return settings.amount * 40.0F + 10.0F;
}

/// The longest delay that aecho takes, in milliseconds.
constexpr float s_longestEcho = 90000;

void CheckVoice(Voice const& voice, Conf::SampleInfo const& info, Core::Site const& site) {
    if (voice.depth < 0)
        Core::Throw<EffectException>(site, fmt::format("{} needs a depth of at least 0 ms, not {}",
                                                       SettingsAudioChorus::CLASS_ID, voice.depth));
    if (voice.speed <= 0) // of which FFmpeg would say that it has no memory
        Core::Throw<EffectException>(site, fmt::format("{} needs a speed above 0 Hz, not {}",
                                                       SettingsAudioChorus::CLASS_ID, voice.speed));
    constexpr double rounded = 1.000001; // as the filter's float may be
    if (info.rate > 0 && info.rate < voice.speed * rounded)
        Core::Throw<EffectException>(site,
                                     fmt::format("{} at {} Hz needs audio of a higher sample rate, not {}",
                                                 SettingsAudioChorus::CLASS_ID, voice.speed, info.rate));
}

} // namespace

template <>
struct EffectActionsAudio<SettingsAudioEcho> {
    using SettingsType = SettingsAudioEcho;
    static constexpr EffectTraits s_traits{.summary = "adds echoes", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        auto const& echos = settings.GetEchos();
        std::ostringstream text = MakeClassicStream();
        text << "aecho=in_gain=" << settings.inGain << ":out_gain=" << settings.outGain << ":delays="
             << Join(echos, [&](Echo const& echo) { return ToFixed(GetScaledDelay(settings, echo)); })
             << ":decays=" << Join(echos, [](Echo const& echo) { return ToFixed(echo.decay); });
        return text.str();
    }

    static void CheckFormat(SettingsType const& settings, Conf::SampleFormats, Conf::SampleInfo const& info) {
        float longest = 0;
        for (Echo const& echo : settings.GetEchos())
            longest = std::max(longest, GetScaledDelay(settings, echo));
        if (longest <= s_longestEcho)
            RequireDelayMemory(GetDelayLineBytes(info, longest), SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template <>
struct EffectActionsAudio<SettingsAudioChorus> {
    using SettingsType = SettingsAudioChorus;
    static constexpr EffectTraits s_traits{
        .summary = "adds delayed voices of wavering pitch", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        auto const& voices = settings.voices;
        std::ostringstream text = MakeClassicStream();
        text << "chorus=in_gain=" << settings.inGain << ":out_gain=" << settings.outGain
             << ":delays=" << Join(voices, [](Voice const& voice) { return fmt::to_string(voice.delay); })
             << ":decays="
             << Join(voices,
                     [&](Voice const& voice) { return ToFixed(voice.decay * double{settings.decayScale}); })
             << ":speeds=" << Join(voices, [](Voice const& voice) { return ToFixed(voice.speed); })
             << ":depths=" << Join(voices, [](Voice const& voice) { return ToFixed(voice.depth); });
        return text.str();
    }

    /// The filter reads past its tables where a voice wavers faster than samples come, or by a negative
    /// depth.
    static void CheckFormat(SettingsType const& settings, Conf::SampleFormats, Conf::SampleInfo const& info) {
        Core::Site const site = Core::Site::Here();
        Conf::SampleInfo inside = info;
        inside.format = Conf::SampleFormats::FloatPlanar;
        double longest = 0;
        double tables = 0;
        for (Voice const& voice : settings.voices) {
            CheckVoice(voice, info, site);
            longest = std::max(longest, voice.delay + voice.depth);
            tables += GetWaveTableBytes(info, voice.speed, sizeof(int));
        }
        RequireDelayMemory(GetDelayLineBytes(inside, longest) + tables, SettingsType::CLASS_ID, site);
    }
};

template <>
struct EffectActionsAudio<SettingsAudioReverb> {
    using SettingsType = SettingsAudioReverb;
    static constexpr EffectTraits s_traits{
        .summary = "adds the reverberation of a small room", .frameIndependent = false, .tail = true};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "aecho=in_gain=1.0:out_gain=0.7:delays=" << GetReverbDelay(settings) << ":decays=0.5";
        return text.str();
    }

    static void CheckFormat(SettingsType const& settings, Conf::SampleFormats, Conf::SampleInfo const& info) {
        if (GetReverbDelay(settings) <= s_longestEcho)
            RequireDelayMemory(GetDelayLineBytes(info, GetReverbDelay(settings)), SettingsType::CLASS_ID,
                               Core::Site::Here());
    }
};

template EffectCreator GetCreator<SettingsAudioEcho>();
template EffectCreator GetCreator<SettingsAudioChorus>();
template EffectCreator GetCreator<SettingsAudioReverb>();

} // namespace Tarsel::Proc
