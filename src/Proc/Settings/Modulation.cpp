#include "Proc/Settings/Modulation.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/WordStream.h"

namespace Tarsel::Proc {

namespace {

using Distortion = SettingsAudioDistortion;
constexpr std::array s_distortionModes{
    FieldWord("tanh", Distortion::Mode::Tanh, "hyperbolic tangent: warm"),
    FieldWord("wrap", Distortion::Mode::Wrap, "wraps around at full scale: harsh"),
    FieldWord("cube", Distortion::Mode::Cube, "third power"),
    FieldWord("sine", Distortion::Mode::Sine, "folds back at full scale"),
    FieldWord("soft-clip", Distortion::Mode::SoftClip, "soft clipper with gain and tone"),
};
constexpr std::array s_distortionFields{
    MakeField<&Distortion::mode>({
        .key = "mode",
        .initial = Distortion::Mode::Tanh,
        .help = "curve the samples go through",
        .words = s_distortionModes,
    }),
    MakeField<&Distortion::amount>({
        .key = "amount",
        .initial = 0.5,
        .maximum = 1,
        .help = "amount of overdrive",
    }),
    MakeField<&Distortion::gain>({
        .key = "gain",
        .initial = 0.5,
        .maximum = 1,
        .help = "gain before the soft clipper, of up to 99 times; 0 is silence",
    }),
    MakeField<&Distortion::tone>({
        .key = "tone",
        .initial = 0.5,
        .maximum = 1,
        .help = "low-pass after the soft clipper: 1000 to 20000 Hz",
    }),
};
constexpr SettingsTable s_distortion =
    MakeTable("distortion", s_distortionFields, "overdrive fuzz clip clipping saturation guitar");

using Flanger = SettingsAudioFlanger;
constexpr std::array s_shapes{
    FieldWord("sinusoidal", Flanger::ShapeType::Sinusoidal, ""),
    FieldWord("triangular", Flanger::ShapeType::Triangular, ""),
};
constexpr std::array s_interpolations{
    FieldWord("linear", Flanger::InterpolationType::Linear, ""),
    FieldWord("quadratic", Flanger::InterpolationType::Quadratic, ""),
};
constexpr std::array s_flangerFields{
    MakeField<&Flanger::delay>({
        .key = "delay",
        .initial = 0.0,
        .maximum = 30,
        .unit = "ms",
        .help = "shortest delay",
        .option = {"flanger", "delay"},
    }),
    MakeField<&Flanger::depth>({
        .key = "depth",
        .initial = 2.0,
        .maximum = 10,
        .unit = "ms",
        .help = "depth of the sweep",
        .option = {"flanger", "depth"},
    }),
    MakeField<&Flanger::regen>({
        .key = "regen",
        .initial = 0.0,
        .minimum = -95,
        .maximum = 95,
        .unit = "percent",
        .help = "how much of the delayed audio is fed back",
        .option = {"flanger", "regen"},
    }),
    MakeField<&Flanger::width>({
        .key = "width",
        .initial = 0.71,
        .maximum = 1,
        .help = "fraction of the delayed audio that is mixed in",
        .option = {.filter = "flanger", .option = "width", .scale = 100},
    }),
    MakeField<&Flanger::speed>({
        .key = "speed",
        .initial = 0.5,
        .minimum = 0.1,
        .maximum = 10,
        .unit = "Hz",
        .help = "sweeps per second",
        .option = {"flanger", "speed"},
    }),
    MakeField<&Flanger::phase>({
        .key = "phase",
        .initial = 25.0,
        .maximum = 100,
        .unit = "percent",
        .help = "phase shift of the sweep between channels",
        .option = {"flanger", "phase"},
    }),
    MakeField<&Flanger::shape>({
        .key = "shape",
        .initial = Flanger::ShapeType::Sinusoidal,
        .help = "form of the sweep",
        .words = s_shapes,
        .option = {.filter = "flanger", .option = "shape", .form = s_byWord},
    }),
    MakeField<&Flanger::interp>({
        .key = "interp",
        .initial = Flanger::InterpolationType::Linear,
        .help = "interpolation between delayed samples",
        .words = s_interpolations,
        .option = {.filter = "flanger", .option = "interp", .form = s_byWord},
    }),
};
constexpr SettingsTable s_flanger = MakeTable("flanger", s_flangerFields, "sweep jet phaser modulation");

using Vibrato = SettingsAudioVibrato;
constexpr std::array s_vibratoFields{
    MakeField<&Vibrato::frequency>({
        .key = "frequency",
        .initial = 5.0,
        .minimum = 0.1,
        .maximum = 20000,
        .unit = "Hz",
        .help = "speed of the modulation",
        .option = {"vibrato", "f"},
    }),
    MakeField<&Vibrato::depth>({
        .key = "depth",
        .initial = 0.5,
        .maximum = 1,
        .help = "depth of the modulation",
        .option = {"vibrato", "d"},
    }),
};
constexpr SettingsTable s_vibrato =
    MakeTable("vibrato", s_vibratoFields, "pitch waver tremolo modulation wobble");

} // namespace

std::string const SettingsAudioDistortion::CLASS_ID{s_distortion.classId};

SettingsTable const& SettingsAudioDistortion::GetTable() noexcept {
    return s_distortion;
}

bool SettingsAudioDistortion::IsEmpty() const {
    return false;
}

std::string const SettingsAudioFlanger::CLASS_ID{s_flanger.classId};

SettingsTable const& SettingsAudioFlanger::GetTable() noexcept {
    return s_flanger;
}

bool SettingsAudioFlanger::IsEmpty() const {
    return false;
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioFlanger::ShapeType shape) {
    return WriteWord(stream, s_shapes, shape);
}

std::ostream& operator<<(std::ostream& stream, SettingsAudioFlanger::InterpolationType interp) {
    return WriteWord(stream, s_interpolations, interp);
}

std::string const SettingsAudioVibrato::CLASS_ID{s_vibrato.classId};

SettingsTable const& SettingsAudioVibrato::GetTable() noexcept {
    return s_vibrato;
}

bool SettingsAudioVibrato::IsEmpty() const {
    return false;
}

} // namespace Tarsel::Proc
