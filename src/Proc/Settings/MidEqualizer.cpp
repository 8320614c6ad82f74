#include "Proc/Settings/MidEqualizer.h"

#include "Proc/Settings/FieldTable.h"

namespace Tarsel::Proc {

namespace {

constexpr std::array s_midEqualizerFields{
    MakeField<&SettingsEffectMidEqualizer::planes>({
        .key = "planes",
        .initial = 15,
        .maximum = 15,
        .help = "sum of the planes to work on: 1 for the first, 2, 4, 8",
        .option = {"midequalizer", "planes"},
    }),
};
constexpr SettingsTable s_midEqualizer =
    MakeTable("midequalizer", s_midEqualizerFields, "histogram match tone two");

} // namespace

std::string const SettingsEffectMidEqualizer::CLASS_ID{s_midEqualizer.classId};

SettingsTable const& SettingsEffectMidEqualizer::GetTable() noexcept {
    return s_midEqualizer;
}

bool SettingsEffectMidEqualizer::IsEmpty() const {
    return (planes & 15) == 0;
}

} // namespace Tarsel::Proc
