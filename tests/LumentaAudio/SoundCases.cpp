#include "SoundCases.h"

#include "Proc/Effects/Lumenta/Audio/Delay.h"
#include "Proc/Effects/Lumenta/Audio/Dynamics.h"
#include "Proc/Effects/Lumenta/Audio/Equalizer.h"
#include "Proc/Effects/Lumenta/Audio/Modulation.h"
#include "Support/Sound.h"

#include <stdexcept>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

template <class S, class Change>
SoundCase Make(Change const& change, std::string text, int tail = 0) {
    S settings;
    change(settings);
    return {std::string(Proc::EffectActionsAudio<S>::s_settingsName), Proc::CreateEffectAudioFF<S>,
            std::make_shared<S const>(settings), std::move(text), tail};
}

} // namespace

std::vector<SoundCase> const& GetSoundCases() {
    using namespace Proc;
    static std::vector<SoundCase> const s_cases{
        Make<SettingsAudioEqualizer>(
            [](SettingsAudioEqualizer& settings) {
                settings.bands = {{100, 3}, {1000, 12}};
            },
            "equalizer=f=100:width_type=o:width=1:g=3,equalizer=f=1000:width_type=o:width=1:g=12"),
        Make<SettingsAudioEcho>(
            [](SettingsAudioEcho& settings) {
                settings.echos = {{30, 0.5}, {20, 0.25}};
                settings.inGain = 0.5;
            },
            "aecho=in_gain=0.5:out_gain=1:delays=30.000000|20.000000:decays=0.500000|0.250000", 1323),
        Make<SettingsAudioChorus>(
            [](SettingsAudioChorus& settings) {
                settings.voices = {{40, 0.4, 5, 2}};
            },
            "chorus=in_gain=0.5:out_gain=0.9:delays=40:decays=0.400000:speeds=5.000000:depths=2.000000",
            1852),
        Make<SettingsAudioReverb>([](SettingsAudioReverb&) {},
                                  "aecho=in_gain=1.0:out_gain=0.7:delays=30:decays=0.5", 1323),
        Make<SettingsAudioGate>([](SettingsAudioGate& settings) { settings.threshold = 0.5F; },
                                "agate=level_in=1:range=0.06125:threshold=0.5:ratio=2:attack=20:release=250:"
                                "makeup=1:knee=2.82843:detection=rms:link=average"),
        Make<SettingsAudioNoiseGate>(
            [](SettingsAudioNoiseGate& settings) {
                settings.threshold = -5;
                settings.reduction = 0.1F;
            },
            "compand=0.01|0.01:0.2|0.2:-900/-900|-5/-900|-4.9/-4.9:6:-5:-90:.1"),
        Make<SettingsAudioCompressor>(
            [](SettingsAudioCompressor&) {},
            "acompressor=level_in=1:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:"
            "link=average:detection=rms:mix=1"),
        Make<SettingsAudioDistortion>(
            [](SettingsAudioDistortion& settings) {
                settings.mode = SettingsAudioDistortion::Mode::SoftClip;
            },
            "aeval=(1 + 4.82843) * 49.5 * val(ch) / (1 + 4.82843 * abs(49.5 * val(ch))):c=same, "
            "lowpass=f=14224"),
        Make<SettingsAudioFlanger>([](SettingsAudioFlanger& settings) { settings.speed = 5; },
                                   "flanger=delay=0:depth=2:regen=0:width=71:speed=5:phase=25:"
                                   "shape=sinusoidal:interp=linear"),
        Make<SettingsAudioVibrato>([](SettingsAudioVibrato&) {}, "vibrato=f=5:d=0.5"),
    };
    return s_cases;
}

SoundCase const& GetSoundCase(std::string const& className) {
    for (SoundCase const& row : GetSoundCases())
        if (row.name == "SettingsAudio" + className)
            return row;
    throw std::out_of_range(className);
}

SP<Proc::IOneInputEffectAudio> SoundCase::Make() const {
    SP<Proc::IOneInputEffectAudio> effect = create({}, {});
    effect->SetSettings(*settings);
    return effect;
}

} // namespace Tarsel::Test
