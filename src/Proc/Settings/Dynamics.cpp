#include "Proc/Settings/Dynamics.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/FloatZero.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/WordStream.h"

namespace Tarsel::Proc {

namespace {

/// Both filters and all four enumerations use these words and numbers.
template <class Link>
constexpr std::array s_links{
    FieldWord("average", Link::Average, "average of all channels"),
    FieldWord("maximum", Link::Maximum, "loudest channel"),
};
template <class Detection>
constexpr std::array s_detections{
    FieldWord("peak", Detection::Peak, "level of the samples"),
    FieldWord("rms", Detection::Rms, "smoothed level"),
};

using Compressor = SettingsAudioCompressor;
constexpr std::array s_compressorFields{
    MakeField<&Compressor::levelIn>({
        .key = "level-in",
        .initial = 1.0,
        .minimum = Compressor::LEVELIN_MIN_VALUE,
        .maximum = Compressor::LEVELIN_MAX_VALUE,
        .help = "gain before the compressor; times mix, 1/64 at least",
        .option = {"acompressor", "level_in"},
    }),
    MakeField<&Compressor::threshold>({
        .key = "threshold",
        .initial = 0.125,
        .minimum = 0.000976563,
        .maximum = 1,
        .help = "amplitude above which the level is reduced",
        .option = {"acompressor", "threshold"},
    }),
    MakeField<&Compressor::ratio>({
        .key = "ratio",
        .initial = 2.0,
        .minimum = 1,
        .maximum = 20,
        .help = "dB above the threshold that become 1 dB",
        .option = {"acompressor", "ratio"},
    }),
    MakeField<&Compressor::attack>({
        .key = "attack",
        .initial = 20.0,
        .minimum = 0.01,
        .maximum = 2000,
        .unit = "ms",
        .help = "time until the level is reduced",
        .option = {"acompressor", "attack"},
    }),
    MakeField<&Compressor::release>({
        .key = "release",
        .initial = 250.0,
        .minimum = 0.01,
        .maximum = 9000,
        .unit = "ms",
        .help = "time until the level is restored",
        .option = {"acompressor", "release"},
    }),
    MakeField<&Compressor::makeup>({
        .key = "makeup",
        .initial = 1.0,
        .minimum = 1,
        .maximum = 64,
        .help = "gain after the compressor",
        .option = {"acompressor", "makeup"},
    }),
    MakeField<&Compressor::knee>({
        .key = "knee",
        .initial = 2.82843,
        .minimum = 1,
        .maximum = 8,
        .help = "width of the curve around the threshold; 1 is a corner",
        .option = {"acompressor", "knee"},
    }),
    MakeField<&Compressor::link>({
        .key = "link",
        .initial = Compressor::LinkType::Average,
        .help = "level that the reduction of all channels follows",
        .words = s_links<Compressor::LinkType>,
        .option = {.filter = "acompressor", .option = "link", .form = s_byWord},
    }),
    MakeField<&Compressor::detection>({
        .key = "detection",
        .initial = Compressor::DetectionType::Rms,
        .help = "how the level is measured",
        .words = s_detections<Compressor::DetectionType>,
        .option = {.filter = "acompressor", .option = "detection", .form = s_byWord},
    }),
    MakeField<&Compressor::mix>({
        .key = "mix",
        .initial = 1.0,
        .maximum = 1,
        .help = "share of the compressed audio in the result; the input is multiplied with it too (by 1/64 "
                "at least): at 0 "
                "it comes out uncompressed and 36 dB quieter",
        .option = {"acompressor", "mix"},
    }),
};
constexpr SettingsTable s_compressor =
    MakeTable("compressor", s_compressorFields,
              "volume loudness louder level dynamics limiter limit normalize gain punch");

using Gate = SettingsAudioGate;
constexpr std::array s_gateFields{
    MakeField<&Gate::levelIn>({
        .key = "level-in",
        .initial = 1.0,
        .minimum = 0.015625,
        .maximum = 64,
        .help = "gain before the gate",
        .option = {"agate", "level_in"},
    }),
    MakeField<&Gate::range>({
        .key = "range",
        .initial = 1 - 0.06125,
        .maximum = 1,
        .help = "how far the level is reduced: 0 not at all, 1 to silence",
        .option = {.filter = "agate", .option = "range", .scale = -1, .offset = 1},
    }),
    MakeField<&Gate::threshold>({
        .key = "threshold",
        .initial = 0.125,
        .maximum = 1,
        .help = "amplitude below which the level is reduced",
        .option = {"agate", "threshold"},
    }),
    MakeField<&Gate::ratio>({
        .key = "ratio",
        .initial = 2.0,
        .minimum = 1,
        .maximum = 9000,
        .help = "dB by which the level is reduced for 1 dB below the threshold",
        .option = {"agate", "ratio"},
    }),
    MakeField<&Gate::attack>({
        .key = "attack",
        .initial = 20.0,
        .minimum = 0.01,
        .maximum = 9000,
        .unit = "ms",
        .help = "time until the gate opens",
        .option = {"agate", "attack"},
    }),
    MakeField<&Gate::release>({
        .key = "release",
        .initial = 250.0,
        .minimum = 0.01,
        .maximum = 9000,
        .unit = "ms",
        .help = "time until it closes again",
        .option = {"agate", "release"},
    }),
    MakeField<&Gate::makeup>({
        .key = "makeup",
        .initial = 1.0,
        .minimum = 1,
        .maximum = 64,
        .help = "gain after the gate",
        .option = {"agate", "makeup"},
    }),
    MakeField<&Gate::knee>({
        .key = "knee",
        .initial = 2.82843,
        .minimum = 1,
        .maximum = 8,
        .help = "width of the curve around the threshold; 1 is a corner",
        .option = {"agate", "knee"},
    }),
    MakeField<&Gate::detection>({
        .key = "detection",
        .initial = Gate::DetectionType::Rms,
        .help = "how the level is measured",
        .words = s_detections<Gate::DetectionType>,
        .option = {.filter = "agate", .option = "detection", .form = s_byWord},
    }),
    MakeField<&Gate::link>({
        .key = "link",
        .initial = Gate::LinkType::Average,
        .help = "level that the reduction of all channels follows",
        .words = s_links<Gate::LinkType>,
        .option = {.filter = "agate", .option = "link", .form = s_byWord},
    }),
};
constexpr SettingsTable s_gate =
    MakeTable("gate", s_gateFields, "volume silence hiss background noise dynamics expander");

using NoiseGate = SettingsAudioNoiseGate;
/// Above it the effect is off.
constexpr double s_highestThreshold = -5.0;
constexpr std::array s_noiseGateFields{
    MakeField<&NoiseGate::threshold>({
        .key = "threshold",
        .initial = 0.0,
        .minimum = -900,
        .maximum = 0,
        .unit = "dB",
        .help = "level (of peaks) up to which audio becomes silence: -900 to -5; above -5 the effect is off",
    }),
    MakeField<&NoiseGate::attack>({
        .key = "attack",
        .initial = 0.01,
        .maximum = 10,
        .unit = "s",
        .help = "time until the gate opens",
    }),
    MakeField<&NoiseGate::decay>({
        .key = "decay",
        .initial = 0.2,
        .maximum = 10,
        .unit = "s",
        .help = "time until it closes",
    }),
    MakeField<&NoiseGate::softKnee>({
        .key = "soft-knee",
        .initial = 6.0,
        .minimum = 0.01,
        .maximum = 900,
        .unit = "dB",
        .help = "radius of the curve at the threshold",
        .option = {"compand", "soft-knee"},
    }),
    MakeField<&NoiseGate::reduction>({
        .key = "reduction",
        .initial = 0.01,
        .maximum = 1,
        .help = "lowers the audio that is left by 50 dB times this, in whole dB: below 0.02 not at all; 0 "
                "switches the effect off",
        .option = {.filter = "compand",
                   .option = "gain",
                   .scale = -50,
                   .narrower = "a reduction, and none beyond what can be heard"},
    }),
};
constexpr SettingsTable s_noiseGate =
    MakeTable("noise-gate", s_noiseGateFields, "silence hiss hum background denoise mute dynamics quiet");

} // namespace

std::string const SettingsAudioCompressor::CLASS_ID{s_compressor.classId};

SettingsTable const& SettingsAudioCompressor::GetTable() noexcept {
    return s_compressor;
}

bool SettingsAudioCompressor::IsEmpty() const {
    return false;
}

std::string const SettingsAudioGate::CLASS_ID{s_gate.classId};

SettingsTable const& SettingsAudioGate::GetTable() noexcept {
    return s_gate;
}

bool SettingsAudioGate::IsEmpty() const {
    return false;
}

std::string const SettingsAudioNoiseGate::CLASS_ID{s_noiseGate.classId};

SettingsTable const& SettingsAudioNoiseGate::GetTable() noexcept {
    return s_noiseGate;
}

bool SettingsAudioNoiseGate::IsEmpty() const {
    return threshold > s_highestThreshold || IsZero(reduction);
}

SettingsAudioNoiseGate Property2SettingsNoiseGate(Core::Property const& property) {
    return Property2Settings<SettingsAudioNoiseGate>(property);
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioCompressor::LinkType link) {
    return WriteWord(stream, s_links<SettingsAudioCompressor::LinkType>, link);
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioCompressor::DetectionType detection) {
    return WriteWord(stream, s_detections<SettingsAudioCompressor::DetectionType>, detection);
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioGate::LinkType link) {
    return WriteWord(stream, s_links<SettingsAudioGate::LinkType>, link);
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioGate::DetectionType detection) {
    return WriteWord(stream, s_detections<SettingsAudioGate::DetectionType>, detection);
}

} // namespace Tarsel::Proc
