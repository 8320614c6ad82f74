#include "Proc/Settings/Delay.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/FloatZero.h"

namespace Tarsel::Proc {

namespace {

/// Decays and speeds are written with six decimals; below this they would be 0, which the filters refuse.
constexpr double s_smallest = 0.000001;

using Echo = SettingsAudioEcho;
constexpr std::array s_echoColumns{
    FieldColumn{.key = "delay",
                .kind = FieldKind::Integer,
                .minimum = 1,
                .maximum = 90000,
                .unit = "ms",
                .help = "delay of the echo"},
    FieldColumn{.key = "decay", .minimum = s_smallest, .maximum = 1, .help = "its volume"},
};
constexpr std::array s_echoFields{
    MakeField<&Echo::echos, &Echo::Echo::delay, &Echo::Echo::decay>({
        .key = "echos",
        .help = "the echoes, such as 500/0.5|250/0.3",
        .columns = s_echoColumns,
    }),
    MakeField<&Echo::inGain>({
        .key = "in-gain",
        .initial = 1.0,
        .maximum = 1,
        .help = "gain of the input",
        .option = {"aecho", "in_gain"},
    }),
    MakeField<&Echo::outGain>({
        .key = "out-gain",
        .initial = 1.0,
        .maximum = 1,
        .help = "gain of the result",
        .option = {"aecho", "out_gain"},
    }),
    MakeField<&Echo::delayScale>({
        .key = "scale",
        .initial = 1.0,
        .maximum = 100,
        .help = "multiplies all delays, up to 90000 ms; 0 switches the effect off",
    }),
};
constexpr SettingsTable s_echo = MakeTable("echo", s_echoFields, "delay repeat reflection");

using Chorus = SettingsAudioChorus;
constexpr std::array s_chorusColumns{
    FieldColumn{.key = "delay",
                .kind = FieldKind::Integer,
                .minimum = 1,
                .maximum = 1000,
                .unit = "ms",
                .help = "delay of the voice; usually 40 to 60"},
    FieldColumn{.key = "decay", .minimum = 0, .maximum = 1, .help = "its volume"},
    FieldColumn{
        .key = "speed", .minimum = 0.01, .maximum = 20, .unit = "Hz", .help = "speed of its modulation"},
    FieldColumn{
        .key = "depth", .minimum = 0, .maximum = 100, .unit = "ms", .help = "depth of its modulation"},
};
constexpr std::array s_chorusFields{
    MakeField<&Chorus::voices, &Chorus::Voice::delay, &Chorus::Voice::decay, &Chorus::Voice::speed,
              &Chorus::Voice::depth>({
        .key = "voices",
        .help = "the voices, such as 50/0.4/0.25/2|60/0.3/0.4/2.3",
        .columns = s_chorusColumns,
    }),
    MakeField<&Chorus::inGain>({
        .key = "in-gain",
        .initial = 0.5,
        .maximum = 1,
        .help = "gain of the input",
        .option = {"chorus", "in_gain"},
    }),
    MakeField<&Chorus::outGain>({
        .key = "out-gain",
        .initial = 0.9,
        .maximum = 1,
        .help = "gain of the result",
        .option = {"chorus", "out_gain"},
    }),
    MakeField<&Chorus::decayScale>({
        .key = "scale",
        .initial = 1.0,
        .maximum = 100,
        .help = "multiplies all decays; 0 switches the effect off",
    }),
};
constexpr SettingsTable s_chorus =
    MakeTable("chorus", s_chorusFields, "voices ensemble thicken detune double");

constexpr std::array s_reverbFields{
    MakeField<&SettingsAudioReverb::amount>({
        .key = "amount",
        .initial = 0.5,
        .maximum = 1,
        .help = "size of the room: an echo after 10 to 50 ms",
    }),
};
constexpr SettingsTable s_reverb = MakeTable("reverb", s_reverbFields, "room hall echo space ambience");

} // namespace

std::string const SettingsAudioEcho::CLASS_ID{s_echo.classId};

SettingsTable const& SettingsAudioEcho::GetTable() noexcept {
    return s_echo;
}

bool SettingsAudioEcho::IsEmpty() const {
    return echos.empty() || IsZero(delayScale);
}

std::string const SettingsAudioChorus::CLASS_ID{s_chorus.classId};

SettingsTable const& SettingsAudioChorus::GetTable() noexcept {
    return s_chorus;
}

bool SettingsAudioChorus::IsEmpty() const {
    return voices.empty() || IsZero(decayScale);
}

std::string const SettingsAudioReverb::CLASS_ID{s_reverb.classId};

SettingsTable const& SettingsAudioReverb::GetTable() noexcept {
    return s_reverb;
}

bool SettingsAudioReverb::IsEmpty() const {
    return false;
}

} // namespace Tarsel::Proc
