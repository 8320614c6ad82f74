#include "Proc/Settings/Equalizer.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/FloatZero.h"

namespace Tarsel::Proc {

namespace {

using Equalizer = SettingsAudioEqualizer;
constexpr std::array s_bandColumns{
    FieldColumn{.key = "frequency",
                .kind = FieldKind::Integer,
                .minimum = 0,
                .maximum = 999999,
                .unit = "Hz",
                .help = "center of the band; bands at or above half the sample rate are left out",
                .option = {"equalizer", "frequency"}},
    FieldColumn{.key = "gain",
                .minimum = -900,
                .maximum = 900,
                .unit = "dB",
                .help = "gain of the band",
                .option = {"equalizer", "gain"}},
};
constexpr std::array s_equalizerFields{
    MakeField<&Equalizer::bands, &Equalizer::BandEq::frequency, &Equalizer::BandEq::gain>({
        .key = "bands",
        .help = "the bands, such as 100/3|1000/-2.5",
        .columns = s_bandColumns,
    }),
    MakeField<&Equalizer::factor>({
        .key = "factor",
        .initial = 1.0,
        .minimum = -10,
        .maximum = 10,
        .help = "multiplies all gains; 0 switches the effect off",
    }),
};
constexpr SettingsTable s_equalizer =
    MakeTable("equalizer", s_equalizerFields, "bass treble tone eq bands frequency boost cut volume");

} // namespace

std::string const SettingsAudioEqualizer::CLASS_ID{s_equalizer.classId};

SettingsTable const& SettingsAudioEqualizer::GetTable() noexcept {
    return s_equalizer;
}

bool SettingsAudioEqualizer::IsEmpty() const {
    return bands.empty() || IsZero(factor);
}

} // namespace Tarsel::Proc
