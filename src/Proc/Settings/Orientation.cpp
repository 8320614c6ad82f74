#include "Proc/Settings/Orientation.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/SettingsProperty.h"

namespace Tarsel::Proc {

namespace {

constexpr std::array s_flipFields{
    MakeField<&SettingsEffectFlip::horizontal>(
        {.key = "horizontal", .initial = false, .help = "mirror left and right"}),
    MakeField<&SettingsEffectFlip::vertical>(
        {.key = "vertical", .initial = false, .help = "mirror top and bottom"}),
};
constexpr SettingsTable s_flip =
    MakeTable("flip", s_flipFields, "mirror reflect reverse upside-down horizontal vertical");

constexpr std::array s_transposeFields{
    MakeField<&SettingsEffectTranspose::step>({.key = "step",
                                               .initial = 0,
                                               .minimum = 0,
                                               .maximum = 3,
                                               .unit = "quarter turns",
                                               .help = "clockwise rotation"}),
};
constexpr SettingsTable s_transpose =
    MakeTable("transpose", s_transposeFields, "rotate turn quarter portrait landscape 90 180 270 sideways");

constexpr std::array s_noTransform = [] {
    std::array<double, 9> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = Conf::DisplayMatrix{}.words[i];
    return words;
}();
constexpr std::array s_displayMatrixFields{
    MakeField<&SettingsEffectDisplayMatrix::matrix>(
        {.key = "matrix",
         .initial = std::span<double const>(s_noTransform),
         .help = "display matrix to apply to the pixels, or an EXIF orientation of 1 to 8"}),
};
constexpr SettingsTable s_displayMatrix = MakeTable("display-matrix", s_displayMatrixFields,
                                                    "rotate orientation exif upright portrait sideways tag");

} // namespace

bool operator==(SettingsEffectTransform const& a, SettingsEffectTransform const& b) {
    return a.GetClassId() == b.GetClassId() && a.IsEqualTo(b);
}

std::string const SettingsEffectFlip::CLASS_ID{s_flip.classId};

SettingsTable const& SettingsEffectFlip::GetTable() noexcept {
    return s_flip;
}

bool SettingsEffectFlip::IsEmpty() const {
    return !horizontal && !vertical;
}

SettingsEffectFlip Property2SettingsFlip(Core::Property const& property) {
    return Property2Settings<SettingsEffectFlip>(property);
}

std::string const SettingsEffectTranspose::CLASS_ID{s_transpose.classId};

SettingsTable const& SettingsEffectTranspose::GetTable() noexcept {
    return s_transpose;
}

bool SettingsEffectTranspose::IsEmpty() const {
    return step == 0;
}

void SettingsEffectTranspose::AddAngle90() noexcept {
    step = ((step & 3) + 1) & 3;
}

void SettingsEffectTranspose::SubAngle90() noexcept {
    step = ((step & 3) + 3) & 3;
}

SettingsEffectTranspose Property2SettingsTranspose(Core::Property const& property) {
    return Property2Settings<SettingsEffectTranspose>(property);
}

std::string const SettingsEffectDisplayMatrix::CLASS_ID{s_displayMatrix.classId};

SettingsTable const& SettingsEffectDisplayMatrix::GetTable() noexcept {
    return s_displayMatrix;
}

bool SettingsEffectDisplayMatrix::IsEmpty() const {
    return matrix == Conf::DisplayMatrix{};
}

} // namespace Tarsel::Proc
