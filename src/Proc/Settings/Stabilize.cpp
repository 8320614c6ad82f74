#include "Proc/Settings/Stabilize.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/SettingsProperty.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace {

using Deshake = SettingsEffectDeshake;
constexpr std::array s_deshakeFields{
    MakeField<&Deshake::blockSize>({
        .key = "block-size",
        .initial = 8,
        .minimum = 4,
        .maximum = 128,
        .unit = "pixels",
        .help = "size of the blocks for the motion search",
        .option = {"deshake", "blocksize"},
    }),
    MakeField<&Deshake::enabled>({
        .key = "enabled",
        .initial = false,
        .help = "switches the effect on",
    }),
};
constexpr SettingsTable s_deshake =
    MakeTable("deshake", s_deshakeFields, "stabilize stabilise steady shake shaky camera smooth");

using Stabilizer = SettingsEffectStabilizer;
constexpr std::array s_cropModes{
    FieldWord("black", Stabilizer::CropMode::Black, "black border"),
    FieldWord("keep", Stabilizer::CropMode::Keep, "border of earlier frames"),
};
constexpr std::array s_optimalZooms{
    FieldWord("none", Stabilizer::OptimalZoom::None, "by zoom only"),
    FieldWord("static", Stabilizer::OptimalZoom::Static, "the same for the whole clip"),
    FieldWord("dynamic", Stabilizer::OptimalZoom::Dynamic, "as much as each part of the clip needs"),
};
constexpr std::array s_optimizations{
    FieldWord("avg", Stabilizer::Optimization::Average, "average of the motions"),
    FieldWord("gauss", Stabilizer::Optimization::Gauss, "Gaussian low-pass"),
};
constexpr std::array s_pixelInterpolations{
    FieldWord("no", Stabilizer::Interpolation::None, "nearest pixel"),
    FieldWord("linear", Stabilizer::Interpolation::Linear, "horizontal only"),
    FieldWord("bilinear", Stabilizer::Interpolation::Bilinear, "in both directions"),
    FieldWord("bicubic", Stabilizer::Interpolation::Bicubic, "slower, sharper"),
};
constexpr std::array s_stabilizerFields{
    MakeField<&Stabilizer::enabled>({
        .key = "enabled",
        .initial = false,
        .help = "switches the effect on",
    }),
    MakeField<&Stabilizer::detectionPass>({
        .key = "detect",
        .initial = true,
        .help = "1: first pass, writes the file; 0: second pass, reads it",
    }),
    MakeField<&Stabilizer::statisticsPath>({
        .key = "path",
        .initial = "transforms.trf",
        .help = "file between the passes",
        .option = {.filter = "vidstabdetect", .option = "result"},
    }),
    MakeField<&Stabilizer::shakiness>({
        .key = "shakiness",
        .initial = 5,
        .minimum = 1,
        .maximum = 10,
        .help = "how shaky the clip is; more takes longer (first pass)",
        .option = {"vidstabdetect", "shakiness"},
    }),
    MakeField<&Stabilizer::smoothing>({
        .key = "smoothing",
        .initial = 15,
        .maximum = 1000,
        .unit = "frames",
        .help = "frames on each side over which the camera path is smoothed (second pass)",
        .option = {"vidstabtransform", "smoothing"},
    }),
    MakeField<&Stabilizer::accuracy>({
        .key = "accuracy",
        .initial = 15,
        .minimum = 1,
        .maximum = 15,
        .help = "accuracy of the detection, at least shakiness; more takes longer (first pass)",
        .option = {"vidstabdetect", "accuracy"},
    }),
    MakeField<&Stabilizer::stepSize>({
        .key = "step-size",
        .initial = 6,
        .minimum = 1,
        .maximum = 32,
        .unit = "pixels",
        .help =
            "step of the search; the region around the best match is searched pixel by pixel (first pass)",
        .option = {"vidstabdetect", "stepsize"},
    }),
    MakeField<&Stabilizer::zoom>({
        .key = "zoom",
        .initial = 0,
        .minimum = -100,
        .maximum = 100,
        .unit = "percent",
        .help = "zooms in, or out below 0 (second pass)",
        .option = {"vidstabtransform", "zoom"},
    }),
    MakeField<&Stabilizer::minContrast>({
        .key = "min-contrast",
        .initial = 25,
        .maximum = 100,
        .unit = "hundredths",
        .help = "fields of lower contrast are ignored (first pass)",
        .option = {.filter = "vidstabdetect", .option = "mincontrast", .scale = 0.01},
    }),
    MakeField<&Stabilizer::cropMode>({
        .key = "crop",
        .initial = Stabilizer::CropMode::Keep,
        .help = "what fills the area that the moved frame leaves empty (second pass)",
        .words = s_cropModes,
        .option = {.filter = "vidstabtransform", .option = "crop", .form = s_byWord},
    }),
    MakeField<&Stabilizer::optimalZoom>({
        .key = "optimal-zoom",
        .initial = Stabilizer::OptimalZoom::Static,
        .help = "how far to zoom in so that no border shows (second pass)",
        .words = s_optimalZooms,
        .option = {"vidstabtransform", "optzoom"},
    }),
    MakeField<&Stabilizer::optimization>({
        .key = "algorithm",
        .initial = Stabilizer::Optimization::Gauss,
        .help = "how the camera path is smoothed (second pass)",
        .words = s_optimizations,
        .option = {.filter = "vidstabtransform", .option = "optalgo", .form = s_byWord},
    }),
    MakeField<&Stabilizer::interpolation>({
        .key = "interpolation",
        .initial = Stabilizer::Interpolation::Bilinear,
        .help = "interpolation between pixels (second pass)",
        .words = s_pixelInterpolations,
        .option = {.filter = "vidstabtransform", .option = "interpol", .form = s_byWord},
    }),
};
std::string FindConflict(Stabilizer const& stabilizer) {
    if (stabilizer.accuracy >= stabilizer.shakiness)
        return {};
    return fmt::format("give accuracy {1} to 15, shakiness or more: accuracy={0} is below shakiness={1}",
                       stabilizer.accuracy, stabilizer.shakiness);
}
constexpr SettingsTable s_stabilizer = MakeTable(
    "stabilizer", s_stabilizerFields, "stabilize stabilise steady shake shaky camera smooth vidstab motion",
    FindConflictOf<Stabilizer, FindConflict>);

} // namespace

std::string const SettingsEffectDeshake::CLASS_ID{s_deshake.classId};

SettingsTable const& SettingsEffectDeshake::GetTable() noexcept {
    return s_deshake;
}

bool SettingsEffectDeshake::IsEmpty() const {
    return !enabled;
}

SettingsEffectDeshake Property2SettingsDeshake(Core::Property const& property) {
    return Property2Settings<SettingsEffectDeshake>(property);
}

std::string const SettingsEffectStabilizer::CLASS_ID{s_stabilizer.classId};

SettingsTable const& SettingsEffectStabilizer::GetTable() noexcept {
    return s_stabilizer;
}

bool SettingsEffectStabilizer::IsEmpty() const {
    return !enabled;
}

SettingsEffectStabilizer Property2SettingsStabilizer(Core::Property const& property) {
    return Property2Settings<SettingsEffectStabilizer>(property);
}

} // namespace Tarsel::Proc
