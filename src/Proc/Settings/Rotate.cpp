#include "Proc/Settings/Rotate.h"

#include "Proc/Settings/FieldTable.h"

#include <fmt/format.h>

#include <cmath>

namespace Tarsel::Proc {

namespace {

using Rotate = SettingsEffectRotate;
constexpr double s_largestRotated = 16384;
constexpr double s_maxTurns = 100;

constexpr std::array s_sizeModes{
    FieldWord("keep", Rotate::SizeMode::Keep, "that of the input"),
    FieldWord("given", Rotate::SizeMode::Given, "width and height"),
    FieldWord("crop", Rotate::SizeMode::Crop, "the largest part without corners"),
    FieldWord("pad", Rotate::SizeMode::Pad, "all of the rotated frame"),
};
constexpr std::array s_rotateFields{
    MakeField<&Rotate::angle>({
        .key = "angle",
        .initial = 0.0,
        .minimum = -s_maxTurns * 360,
        .maximum = s_maxTurns * 360,
        .unit = "degrees",
        .help = "clockwise rotation, cut to 0.06; multiples of 90 are lossless and change the size as needed",
    }),
    MakeField<&Rotate::sizeMode>({
        .key = "mode",
        .initial = Rotate::SizeMode::Keep,
        .help = "size of the result",
        .words = s_sizeModes,
    }),
    MakeField<&Rotate::outputWidth>({
        .key = "width",
        .initial = 0,
        .maximum = s_largestRotated,
        .unit = "pixels",
        .help = "width of the result, for mode=given; above 0 there",
    }),
    MakeField<&Rotate::outputHeight>({
        .key = "height",
        .initial = 0,
        .maximum = s_largestRotated,
        .unit = "pixels",
        .help = "height of the result, for mode=given; above 0 there",
    }),
    MakeField<&Rotate::bilinear>({
        .key = "bilinear",
        .initial = false,
        .help = "request bilinear interpolation by name; it is the default of the filter too",
        .option = {"rotate", "bilinear"},
    }),
    MakeField<&Rotate::fillColor>({
        .key = "fill",
        .initial = Conf::PixColor{},
        .help = "color of the area that the rotated frame leaves empty",
    }),
};
std::string FindConflict(Rotate const& rotate) {
    bool const turnsByQuarters = std::fmod(rotate.angle, 90.0) == 0;
    if (rotate.sizeMode != Rotate::SizeMode::Given || turnsByQuarters ||
        (rotate.outputWidth > 0 && rotate.outputHeight > 0))
        return {};
    return fmt::format("give {}{}{}, 1 to {} pixels: mode=given needs a size",
                       rotate.outputWidth > 0 ? "" : "width",
                       rotate.outputWidth > 0 || rotate.outputHeight > 0 ? "" : " and ",
                       rotate.outputHeight > 0 ? "" : "height", s_largestRotated);
}
constexpr SettingsTable s_rotate =
    MakeTable("rotate", s_rotateFields, "turn tilt angle straighten level horizon crop degrees",
              FindConflictOf<Rotate, FindConflict>);

} // namespace

std::string const SettingsEffectRotate::CLASS_ID{s_rotate.classId};

SettingsTable const& SettingsEffectRotate::GetTable() noexcept {
    return s_rotate;
}

bool SettingsEffectRotate::IsEmpty() const {
    return angle == 0.0;
}

} // namespace Tarsel::Proc
