#include "Proc/Effects/Lumenta/Audio/Dynamics.h"

#include "Core/Saturate.h"
#include "Core/Text.h"
#include "Proc/Effects/Lumenta/Audio/DelayMemory.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {
namespace {

using CompressorActions = EffectActionsAudio<SettingsAudioCompressor>;
using GateActions = EffectActionsAudio<SettingsAudioGate>;
using NoiseGateActions = EffectActionsAudio<SettingsAudioNoiseGate>;

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

std::string CompressorActions::GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "acompressor=level_in=" << GetLevelIn(settings) << ":threshold=" << settings.threshold
         << ":ratio=" << settings.ratio << ":attack=" << settings.attack << ":release=" << settings.release
         << ":makeup=" << settings.makeup << ":knee=" << settings.knee << ":link=" << settings.link
         << ":detection=" << settings.detection << ":mix=" << settings.mix;
    return text.str();
}

std::string GateActions::GetFFString(SettingsType const& settings, Conf::SampleInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "agate=level_in=" << settings.levelIn << ":range=" << 1.0F - settings.range
         << ":threshold=" << settings.threshold << ":ratio=" << settings.ratio
         << ":attack=" << settings.attack << ":release=" << settings.release << ":makeup=" << settings.makeup
         << ":knee=" << settings.knee << ":detection=" << settings.detection << ":link=" << settings.link;
    return text.str();
}

std::string NoiseGateActions::GetFFString(SettingsType const& settings, Conf::SampleInfo const& info) {
    double const open = settings.threshold + 0.1;
    auto const gain = Core::Saturate<std::int32_t>(settings.reduction * -50.0F);
    std::ostringstream text = MakeClassicStream();
    text << "compand=" << RepeatForChannels(settings.attack, info) << ':'
         << RepeatForChannels(settings.decay, info) << ":-900/-900|" << settings.threshold << "/-900|" << open
         << '/' << open << ':' << settings.softKnee << ':' << gain << ":-90:.1";
    return text.str();
}

SettingsAudioNoiseGate NoiseGateActions::FromProperty(Core::Property const& property) {
    return Property2SettingsNoiseGate(property);
}

void NoiseGateActions::CheckFormat(SettingsType const&, Conf::SampleInfo const& info) {
    constexpr double delay = 100; // ms
    Conf::SampleInfo inside = info;
    inside.format = Conf::SampleFormats::DoublePlanar;
    RequireDelayMemory(GetDelayLineBytes(inside, delay), SettingsType::CLASS_ID,
                       {"Proc/Effects/Lumenta/EffectFafloplalAudio",
                        "static void EffectActionsAudio<Tarsel::Proc::SettingsAudioNoiseGate>::CheckFormat("
                        "const SettingsType &, const Conf::SampleInfo &)"});
}

} // namespace Tarsel::Proc
