#include "Proc/Settings/Dynamics.h"
#include "Core/Saturate.h"
#include "Core/Text.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/DelayMemory.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <cstdint>
#include <vector>

/// Audio made louder or quieter by how loud it is.
namespace Tarsel::Proc {
namespace {

/// The level in, as the mix scales it, within what the filter takes.
float GetLevelIn(SettingsAudioCompressor const& settings) {
    float const level = settings.levelIn * settings.mix;
    if (level < SettingsAudioCompressor::LEVELIN_MIN_VALUE)
        return SettingsAudioCompressor::LEVELIN_MIN_VALUE;
    return level > SettingsAudioCompressor::LEVELIN_MAX_VALUE ? SettingsAudioCompressor::LEVELIN_MAX_VALUE
                                                              : level;
}

/// The same number for each channel.
std::string RepeatForChannels(double value, Conf::SampleInfo const& info) {
    std::ostringstream text = MakeClassicStream();
    text << value;
    return Core::Utils::ToString(std::vector<std::string>(info.layout.channels, text.str()), "|",
                                 [](std::string const& item) { return item; });
}

} // namespace

template <>
struct EffectActionsAudio<SettingsAudioCompressor> {
    using SettingsType = SettingsAudioCompressor;
    static constexpr EffectTraits s_traits{.summary = "reduces the level of loud audio",
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "acompressor=level_in=" << GetLevelIn(settings) << ":threshold=" << settings.threshold
             << ":ratio=" << settings.ratio << ":attack=" << settings.attack
             << ":release=" << settings.release << ":makeup=" << settings.makeup << ":knee=" << settings.knee
             << ":link=" << settings.link << ":detection=" << settings.detection << ":mix=" << settings.mix;
        return text.str();
    }
};

template <>
struct EffectActionsAudio<SettingsAudioGate> {
    using SettingsType = SettingsAudioGate;
    static constexpr EffectTraits s_traits{.summary = "reduces the level of quiet audio",
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "agate=level_in=" << settings.levelIn << ":range=" << 1.0F - settings.range
             << ":threshold=" << settings.threshold << ":ratio=" << settings.ratio
             << ":attack=" << settings.attack << ":release=" << settings.release
             << ":makeup=" << settings.makeup << ":knee=" << settings.knee
             << ":detection=" << settings.detection << ":link=" << settings.link;
        return text.str();
    }
};

template <>
struct EffectActionsAudio<SettingsAudioNoiseGate> {
    using SettingsType = SettingsAudioNoiseGate;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{
        .summary = "silences audio below a level", .frameIndependent = false, .delayTime = 100000};

    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info) {
        double const open = settings.threshold + 0.1;
        auto const gain = Core::Saturate<std::int32_t>(settings.reduction * -50.0F);
        std::ostringstream text = MakeClassicStream();
        text << "compand=" << RepeatForChannels(settings.attack, info) << ':'
             << RepeatForChannels(settings.decay, info) << ":-900/-900|" << settings.threshold << "/-900|"
             << open << '/' << open << ':' << settings.softKnee << ':' << gain << ":-90:.1";
        return text.str();
    }

    static void CheckFormat(SettingsType const&, Conf::SampleFormats, Conf::SampleInfo const& info) {
        constexpr double delay = 100; // ms
        Conf::SampleInfo inside = info;
        inside.format = Conf::SampleFormats::DoublePlanar;
        RequireDelayMemory(GetDelayLineBytes(inside, delay), SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template EffectCreator GetCreator<SettingsAudioCompressor>();
template EffectCreator GetCreator<SettingsAudioGate>();
template EffectCreator GetCreator<SettingsAudioNoiseGate>();

} // namespace Tarsel::Proc
