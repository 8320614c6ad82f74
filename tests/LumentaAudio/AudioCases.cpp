#include "AudioCases.h"

#include "Conf/FormatCodecAudio.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/LibraryEffects.h"

#include <algorithm>

namespace Tarsel::Test {

std::vector<AudioCase> const& GetAudioCases() {
    static std::vector<AudioCase> const s_cases{
        {"SettingsAudioEqualizer", "equalizer", "bands=100/3|1000/12",
         "equalizer=f=100:width_type=o:width=1:g=3,equalizer=f=1000:width_type=o:width=1:g=12"},
        {"SettingsAudioEcho", "echo", "echos=30/0.5|20/0.25:in-gain=0.5",
         "aecho=in_gain=0.5:out_gain=1:delays=30.000000|20.000000:decays=0.500000|0.250000", 1323},
        {"SettingsAudioChorus", "chorus", "voices=40/0.4/5/2",
         "chorus=in_gain=0.5:out_gain=0.9:delays=40:decays=0.400000:speeds=5.000000:depths=2.000000", 1852},
        {"SettingsAudioReverb", "reverb", "", "aecho=in_gain=1.0:out_gain=0.7:delays=30:decays=0.5", 1323},
        {"SettingsAudioGate", "gate", "threshold=0.5",
         "agate=level_in=1:range=0.06125:threshold=0.5:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:"
         "detection=rms:link=average"},
        {"SettingsAudioNoiseGate", "noise-gate", "threshold=-5:reduction=0.1",
         "compand=0.01|0.01:0.2|0.2:-900/-900|-5/-900|-4.9/-4.9:6:-5:-90:.1"},
        {"SettingsAudioCompressor", "compressor", "",
         "acompressor=level_in=1:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:"
         "link=average:detection=rms:mix=1"},
        {"SettingsAudioDistortion", "distortion", "mode=soft-clip",
         "aeval=(1 + 4.82843) * 49.5 * val(ch) / (1 + 4.82843 * abs(49.5 * val(ch))):c=same, "
         "lowpass=f=14224"},
        {"SettingsAudioFlanger", "flanger", "speed=5",
         "flanger=delay=0:depth=2:regen=0:width=71:speed=5:phase=25:shape=sinusoidal:interp=linear"},
        {"SettingsAudioVibrato", "vibrato", "", "vibrato=f=5:d=0.5"},
    };
    return s_cases;
}

AudioCase const& GetAudioCase(std::string const& classId) {
    return *std::ranges::find(GetAudioCases(), classId, &AudioCase::classId);
}

SP<Proc::IOneInputEffectAudio> MakeEffect(std::string const& classId) {
    return GetFactory()->CreateAudioEffect(classId, "default", {});
}

SP<Proc::IOneInputEffectAudio> MakeEffect(std::string const& classId, std::string const& options) {
    auto effect = MakeEffect(classId);
    effect->SetSettings(*MakeSettings(classId, options));
    return effect;
}

std::string Explain(Proc::IOneInputEffectAudio const& effect, Conf::SampleInfo const& info) {
    return dynamic_cast<Proc::IEffectDetailsAudio const&>(effect).Describe(Conf::FormatCodecAudio(info));
}

} // namespace Tarsel::Test
