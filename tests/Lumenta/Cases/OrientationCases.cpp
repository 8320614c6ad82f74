#include "Cases/Families.h"

#include "Proc/Effects/Lumenta/Video/Orientation.h"

namespace Tarsel::Test {
namespace {

EffectCase Flip(bool horizontal, bool vertical, char const* text) {
    return {"SettingsEffectFlip", Proc::CreateEffectFlip,
            MakeSettings<Proc::SettingsEffectFlip>(horizontal, vertical), text};
}

EffectCase Transpose(int step, char const* text) {
    return {"SettingsEffectTranspose", Proc::CreateEffectTranspose,
            MakeSettings<Proc::SettingsEffectTranspose>(step), text};
}

EffectCase DisplayMatrix(int orientation, char const* text) {
    return {
        "SettingsEffectDisplayMatrix", Proc::CreateEffectDisplayMatrix,
        MakeSettings<Proc::SettingsEffectDisplayMatrix>(*Conf::DisplayMatrix::FromOrientation(orientation)),
        text, false};
}

} // namespace

std::vector<EffectCase> GetOrientationCases() {
    return {
        Flip(false, false, ""),
        Flip(true, false, "hflip"),
        Flip(false, true, "vflip"),
        Flip(true, true, "vflip[s];[s]hflip"),
        Transpose(0, "no rotation"),
        Transpose(1, "transpose=dir=1"),
        Transpose(2, "vflip[s];[s]hflip"),
        Transpose(3, "transpose=dir=2"),
        DisplayMatrix(1, "no rotation"),
        DisplayMatrix(2, "hflip"),
        DisplayMatrix(3, "vflip[s];[s]hflip"),
        DisplayMatrix(4, "vflip"),
        DisplayMatrix(5, "transpose=cclock_flip"),
        DisplayMatrix(6, "transpose=clock"),
        DisplayMatrix(7, "transpose=clock_flip"),
        DisplayMatrix(8, "transpose=cclock"),
    };
}

} // namespace Tarsel::Test
