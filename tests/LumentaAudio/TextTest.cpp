#include "Proc/Effects/Lumenta/Audio/Delay.h"
#include "Proc/Effects/Lumenta/Audio/Dynamics.h"
#include "Proc/Effects/Lumenta/Audio/Equalizer.h"
#include "Proc/Effects/Lumenta/Audio/Modulation.h"
#include "Support/TextCase.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarsel::Test {
namespace {

using Chorus = Proc::SettingsAudioChorus;
using Compressor = Proc::SettingsAudioCompressor;
using Distortion = Proc::SettingsAudioDistortion;
using Echo = Proc::SettingsAudioEcho;
using Equalizer = Proc::SettingsAudioEqualizer;
using Flanger = Proc::SettingsAudioFlanger;
using Gate = Proc::SettingsAudioGate;
using NoiseGate = Proc::SettingsAudioNoiseGate;
using Reverb = Proc::SettingsAudioReverb;
using Vibrato = Proc::SettingsAudioVibrato;

Conf::SampleInfo MakeInfo(std::int32_t rate, Conf::ChannelLayout const& layout) {
    return Conf::SampleInfo::Init(Conf::SampleFormats::Float, rate, layout);
}

Conf::SampleInfo const s_stereo = MakeInfo(44100, {3, 2});

template <class S, class Change>
TextCase Text(Change const& change, std::string text, Conf::SampleInfo const& info = s_stereo) {
    return {[settings = MakeChanged<S>(change), info] {
                return Proc::EffectActionsAudio<S>::GetFFString(settings, info);
            },
            std::move(text)};
}

TextCase DistortionText(int mode, float amount, std::string text, float gain = 0.5F, float tone = 0.5F) {
    return Text<Distortion>(
        [=](Distortion& distortion) {
            distortion.mode = static_cast<Distortion::Mode>(mode);
            distortion.amount = amount;
            distortion.gain = gain;
            distortion.tone = tone;
        },
        std::move(text));
}

TEST(DistortionText, IsExact) {
    ExpectTexts({
        DistortionText(0, 0, "aeval=tanh(40 * val(ch)):c=same"),
        DistortionText(0, 1, "aeval=tanh(200 * val(ch)):c=same"),
        DistortionText(0, 0.25F, "aeval=tanh(42.5 * val(ch)):c=same"),
        DistortionText(0, 1 / 3.0F, "aeval=tanh(45.9259 * val(ch)):c=same"),
        DistortionText(0, 100, "aeval=tanh(1.6e+08 * val(ch)):c=same"),
        DistortionText(1, 0, "aeval=mod(0.03 * val(ch)\\, 2)-1:c=same"),
        DistortionText(1, 0.25F, "aeval=mod(0.7725 * val(ch)\\, 2)-1:c=same"),
        DistortionText(2, 0.25F, "aeval=pow(7.8125 * val(ch)\\, 3):c=same"),
        DistortionText(3, 0.25F, "aeval=sin(3.59375 * val(ch)):c=same"),
        DistortionText(5, 0.25F, ""),
        DistortionText(-1, 0.25F, ""),
    });
}

TEST(DistortionText, SoftClipperWorksInSinglePrecision) {
    auto const clip = [](char const* k, char const* g, int f) {
        return std::string("aeval=(1 + ") + k + ") * " + g + " * val(ch) / (1 + " + k + " * abs(" + g +
               " * val(ch))):c=same, lowpass=f=" + std::to_string(f);
    };
    ExpectTexts({
        DistortionText(4, 0.5F, clip("4.82843", "49.5", 14224)),
        DistortionText(4, 0, clip("0.031595", "0", 1000), 0, 0),
        DistortionText(4, -0.0F, clip("0.031595", "0", 1000), -0.0F, -0.0F),
        DistortionText(4, 1, clip("16535.4", "99", 19990), 1, 1), // 1 - s keeps few digits
        DistortionText(4, 0.25F, clip("1.27792", "9.9", 9467), 0.1F, 0.3F),
        // The product alone, rounded, would give 1543 and 2000.
        DistortionText(4, 0, clip("0.031595", "0", 1542), 0, 0.018564F),
        DistortionText(4, 0, clip("0.031595", "0", 1999), 0, 0.034199F),
        DistortionText(4, 0, clip("0.031595", "0", 0), 0, std::numeric_limits<float>::quiet_NaN()),
    });
}

TEST(ModulationText, IsExact) {
    ExpectTexts({
        Text<Flanger>([](Flanger&) {},
                      "flanger=delay=0:depth=2:regen=0:width=71:speed=0.5:phase=25:shape=sinusoidal:"
                      "interp=linear"),
        Text<Flanger>(
            [](Flanger& flanger) {
                flanger.delay = 0.1F;
                flanger.depth = 1234567;
                flanger.regen = -95;
                flanger.width = 1 / 3.0F;
                flanger.speed = 1e-7F;
                flanger.phase = 100;
                flanger.shape = Flanger::ShapeType::Triangular;
                flanger.interp = Flanger::InterpolationType::Quadratic;
            },
            "flanger=delay=0.1:depth=1.23457e+06:regen=-95:width=33.3333:speed=1e-07:phase=100:"
            "shape=triangular:interp=quadratic"),
        Text<Vibrato>([](Vibrato&) {}, "vibrato=f=5:d=0.5"),
        Text<Vibrato>(
            [](Vibrato& vibrato) {
                vibrato.frequency = 20000;
                vibrato.depth = 0.123456789F;
            },
            "vibrato=f=20000:d=0.123457"),
    });
}

TextCase CompressorText(float levelIn, float mix, std::string const& level, std::string const& mixText) {
    return Text<Compressor>(
        [=](Compressor& compressor) {
            compressor.levelIn = levelIn;
            compressor.mix = mix;
        },
        "acompressor=level_in=" + level +
            ":threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:link=average:"
            "detection=rms:mix=" +
            mixText);
}

TEST(DynamicsText, CompressorScalesItsLevelByTheMix) {
    ExpectTexts({
        CompressorText(1, 1, "1", "1"),
        CompressorText(4, 0.25F, "1", "0.25"),
        CompressorText(64, 0, "0.015625", "0"),
        CompressorText(100, 0.9F, "64", "0.9"),
        CompressorText(-1, 1, "0.015625", "1"),
        Text<Compressor>(
            [](Compressor& compressor) {
                compressor.threshold = 0.000976563;
                compressor.ratio = 20;
                compressor.attack = 0.01F;
                compressor.release = 9000;
                compressor.makeup = 1e7F;
                compressor.knee = 1;
                compressor.link = Compressor::LinkType::Maximum;
                compressor.detection = Compressor::DetectionType::Peak;
            },
            "acompressor=level_in=1:threshold=0.000976563:ratio=20:attack=0.01:release=9000:makeup=1e+07:"
            "knee=1:link=maximum:detection=peak:mix=1"),
    });
}

TextCase GateText(float range, std::string const& text) {
    return Text<Gate>([range](Gate& gate) { gate.range = range; },
                      "agate=level_in=1:range=" + text +
                          ":threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:"
                          "detection=rms:link=average");
}

TEST(DynamicsText, GateWritesWhatIsLeft) {
    ExpectTexts({
        GateText(1, "0"),
        GateText(0.25F, "0.75"),
        GateText(0, "1"),
        GateText(0.93875F, "0.06125"),
        Text<Gate>(
            [](Gate& gate) {
                gate.levelIn = 64;
                gate.threshold = 0;
                gate.ratio = 9000;
                gate.attack = 0.01F;
                gate.release = 1e-7F;
                gate.makeup = 2.5F;
                gate.knee = 8;
                gate.detection = Gate::DetectionType::Peak;
                gate.link = Gate::LinkType::Maximum;
            },
            "agate=level_in=64:range=0.06125:threshold=0:ratio=9000:attack=0.01:release=1e-07:makeup=2.5:"
            "knee=8:detection=peak:link=maximum"),
    });
}

TextCase NoiseGateText(double threshold, float reduction, Conf::ChannelLayout const& layout,
                       std::string text) {
    return Text<NoiseGate>(
        [=](NoiseGate& gate) {
            gate.threshold = threshold;
            gate.reduction = reduction;
        },
        std::move(text), MakeInfo(44100, layout));
}

TEST(DynamicsText, NoiseGateHasTimesForEachChannel) {
    ExpectTexts({
        NoiseGateText(-40, 0.5F, {3, 2},
                      "compand=0.01|0.01:0.2|0.2:-900/-900|-40/-900|-39.9/-39.9:6:-25:-90:.1"),
        NoiseGateText(-5, 0.3F, {4, 1}, "compand=0.01:0.2:-900/-900|-5/-900|-4.9/-4.9:6:-15:-90:.1"),
        NoiseGateText(-900, 0.01F, {}, "compand=::-900/-900|-900/-900|-899.9/-899.9:6:0:-90:.1"),
        NoiseGateText(-1 / 3.0, 0.0199F, {0, 3},
                      "compand=0.01|0.01|0.01:0.2|0.2|0.2:-900/-900|-0.333333/-900|-0.233333/-0.233333:6:0:"
                      "-90:.1"),
        NoiseGateText(-0.1, 1e30F, {4, 1}, "compand=0.01:0.2:-900/-900|-0.1/-900|0/0:6:-2147483648:-90:.1"),
        Text<NoiseGate>(
            [](NoiseGate& gate) {
                gate.threshold = -40;
                gate.attack = 1e-7;
                gate.decay = 10;
                gate.softKnee = 0.01;
                gate.reduction = 1;
            },
            "compand=1e-07|1e-07:10|10:-900/-900|-40/-900|-39.9/-39.9:0.01:-50:-90:.1"),
    });
}

TEST(DelayText, EchoScalesItsDelays) {
    ExpectTexts({
        Text<Echo>(
            [](Echo& echo) {
                echo.echos = {{500, 0.5}};
                echo.inGain = 0.8;
                echo.outGain = 0.9;
            },
            "aecho=in_gain=0.8:out_gain=0.9:delays=500.000000:decays=0.500000"),
        Text<Echo>(
            [](Echo& echo) {
                echo.echos = {{100, 0.3}, {250, 0.25}};
                echo.delayScale = 2;
            },
            "aecho=in_gain=1:out_gain=1:delays=200.000000|500.000000:decays=0.300000|0.250000"),
        Text<Echo>(
            [](Echo& echo) {
                // In single precision: 12345679 * 0.1 and 16777217.
                echo.echos = {{12345679, 1e-7}, {16777217, 2 / 3.0}, {-7, 0}};
                echo.delayScale = 0.1F;
                echo.inGain = 1e-7;
            },
            "aecho=in_gain=1e-07:out_gain=1:delays=1234567.875000|1677721.625000|-0.700000:decays=0.000000|"
            "0.666667|0.000000"),
        Text<Echo>([](Echo&) {}, "aecho=in_gain=1:out_gain=1:delays=:decays="),
    });
}

TEST(DelayText, ChorusScalesItsDecays) {
    ExpectTexts({
        Text<Chorus>(
            [](Chorus& chorus) {
                chorus.voices = {{40, 0.4, 0.25, 2}};
                chorus.decayScale = 0.5F;
            },
            "chorus=in_gain=0.5:out_gain=0.9:delays=40:decays=0.200000:speeds=0.250000:depths=2.000000"),
        Text<Chorus>(
            [](Chorus& chorus) {
                chorus.voices = {{-1234567, 1, 20, 0}, {60, 10, 1e-7, 1234567.5}};
                chorus.inGain = 0.1;
                chorus.decayScale = 0.1F; // 0.100000001490116 as a double
                chorus.voices[1].decay = 1e8;
            },
            "chorus=in_gain=0.1:out_gain=0.9:delays=-1234567|60:decays=0.100000|10000000.149012:"
            "speeds=20.000000|0.000000:depths=0.000000|1234567.500000"),
    });
}

TEST(DelayText, ReverbIsAnEchoOfTenToFiftyMilliseconds) {
    auto const text = [](float amount, std::string const& delay) {
        return Text<Reverb>([amount](Reverb& reverb) { reverb.amount = amount; },
                            "aecho=in_gain=1.0:out_gain=0.7:delays=" + delay + ":decays=0.5");
    };
    ExpectTexts(
        {text(0, "10"), text(0.5F, "30"), text(1, "50"), text(1 / 3.0F, "23.3333"), text(1e6F, "4e+07")});
}

TEST(EqualizerText, LeavesOutBandsFromNyquistOn) {
    auto const text = [](std::int32_t rate, std::vector<Equalizer::BandEq> const& bands, float factor,
                         std::string expected) {
        return Text<Equalizer>(
            [=](Equalizer& equalizer) {
                equalizer.bands = bands;
                equalizer.factor = factor;
            },
            std::move(expected), MakeInfo(rate, {3, 2}));
    };
    ExpectTexts({
        text(44100, {{100, 3}, {1000, -2.5}}, 1,
             "equalizer=f=100:width_type=o:width=1:g=3,equalizer=f=1000:width_type=o:width=1:g=-2.5"),
        text(44100, {{22050, 3}}, 1, ""),
        text(44100, {{22049, 3}}, 1, "equalizer=f=22049:width_type=o:width=1:g=3"),
        text(48000, {{22050, 3}}, 1, "equalizer=f=22050:width_type=o:width=1:g=3"),
        text(11, {{5, 3}, {4, 3}}, 1, "equalizer=f=4:width_type=o:width=1:g=3"), // odd rates halve down
        text(44100, {{1234567, 1}, {100, 3}, {30000, 1}}, 0.5F, "equalizer=f=100:width_type=o:width=1:g=1.5"),
        text(44100, {{12000, 1e7}}, 0.1F, "equalizer=f=12000:width_type=o:width=1:g=1e+06"),
        text(-1, {{100, 3}, {0, 3}}, 1, ""),
        text(44100, {}, 1, ""),
    });
}

} // namespace
} // namespace Tarsel::Test
