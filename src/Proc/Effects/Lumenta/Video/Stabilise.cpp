#include "Proc/Effects/Lumenta/Video/Stabilise.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Files.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarsel::Proc {
namespace {

using DeshakeActions = EffectActions<SettingsEffectDeshake>;
using StabilizerActions = EffectActions<SettingsEffectStabilizer>;
using Stabilizer = SettingsEffectStabilizer;
using Conf::PixFmt;
using Conf::PixFmtDescription;

constexpr char const* s_file = "Proc/Effects/Lumenta/EffectFafloplalVideo";

/// What the filters get for such frames: FFmpeg converts what is none of their formats to the nearest.
PixFmtDescription const& GetFilterFormat(PixFmtDescription const& format) {
    // In the order in which a graph compares them: the first of several that are as near is taken.
    static std::vector<PixFmt> const filterFormats{
        PixFmt::YUV420P, PixFmt::RGB24, PixFmt::BGR24, PixFmt::YUV422P, PixFmt::YUV444P, PixFmt::YUV410P,
        PixFmt::YUV411P, PixFmt::GRAY8, PixFmt::RGBA,  PixFmt::YUV440P, PixFmt::YUVA420P};
    return PixFmtDescription::Find(
        Conf::FindBestPixelFormatOfList(filterFormats, format.GetFormat(), format.HasAlpha(), nullptr));
}

/// Pixels at one edge of the picture that must come together: a chroma sample, and two.
std::uint32_t GetPixelStep(int chromaShift) {
    return std::max(2U, 1U << chromaShift);
}

/// How far outside of a picture that is too low, in bytes, the detection may read: it reads on where it
/// wants more rows than there are. A few are harmless in heap memory; 8192x2 pixels end the process.
constexpr std::int64_t s_mostOutside = 4096;

/// The rows it wants, and some to be sure.
std::int64_t GetDetectionRows(Stabilizer const& settings) {
    return 76 + 2 * std::int64_t{std::max(settings.stepSize, 0)};
}

// The filter's words for what settings hold. Numbers that are none of an enumeration's become its last word.

char const* GetWord(Stabilizer::CropMode mode) {
    return mode == Stabilizer::CropMode::Keep ? "keep" : "black";
}

char const* GetWord(Stabilizer::OptimalZoom zoom) {
    switch (zoom) {
    case Stabilizer::OptimalZoom::None:
        return "0";
    case Stabilizer::OptimalZoom::Static:
        return "1";
    case Stabilizer::OptimalZoom::Dynamic:
        break;
    }
    return "2";
}

char const* GetWord(Stabilizer::Optimisation optimisation) {
    return optimisation == Stabilizer::Optimisation::Gauss ? "gauss" : "avg";
}

char const* GetWord(Stabilizer::Interpolation interpolation) {
    switch (interpolation) {
    case Stabilizer::Interpolation::None:
        return "no";
    case Stabilizer::Interpolation::Linear:
        return "linear";
    case Stabilizer::Interpolation::Bilinear:
        return "bilinear";
    case Stabilizer::Interpolation::Bicubic:
        break;
    }
    return "bicubic";
}

} // namespace

std::string DeshakeActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    return fmt::format("deshake=rx=64:ry=64:blocksize={}", settings.blockSize);
}

SettingsEffectDeshake DeshakeActions::FromProperty(Core::Property const& property) {
    return Property2SettingsDeshake(property);
}

std::string StabilizerActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    if (settings.detectionPass)
        return fmt::format("vidstabdetect=show=0:shakiness={}:accuracy={}:stepsize={}:mincontrast={:.6f}:"
                           "result={}",
                           settings.shakiness, settings.accuracy, settings.stepSize,
                           settings.minContrast / 100.0, settings.statisticsPath);
    if (!Core::FileExists(Core::ioPath(settings.statisticsPath)))
        Core::Throw<EffectException>(
            {s_file, "static std::string EffectActions<Tarsel::Proc::SettingsEffectStabilizer>::GetFFString("
                     "const SettingsType &, const FrameInfo &)"},
            "File with statistics unavailable", TagDetail("no file \"" + settings.statisticsPath + '"'));
    return fmt::format("vidstabtransform=smoothing={}:optalgo={}:crop={}:zoom={}:optzoom={}:interpol={}:"
                       "input={}",
                       settings.smoothing, GetWord(settings.optimisation), GetWord(settings.cropMode),
                       settings.zoom, GetWord(settings.optimalZoom), GetWord(settings.interpolation),
                       settings.statisticsPath);
}

std::string StabilizerActions::GetQueryFFString(SettingsType settings, Conf::FrameInfo const& info) {
    if (settings.detectionPass)
        settings.statisticsPath = "/dev/null";
    return GetFFString(settings, info);
}

SettingsEffectStabilizer StabilizerActions::FromProperty(Core::Property const& property) {
    return Property2SettingsStabilizer(property);
}

void StabilizerActions::CheckFormat(SettingsType const& settings, PixFmt format,
                                    Conf::FrameInfo const& info) {
    constexpr char const* signature =
        "static void EffectActions<Tarsel::Proc::SettingsEffectStabilizer>::CheckFormat("
        "const SettingsType &, PixFmt, const FrameInfo &)";
    PixFmtDescription const& description = PixFmtDescription::Find(format);
    PixFmtDescription const& filtered = GetFilterFormat(description);
    std::uint32_t const stepX = GetPixelStep(filtered.GetChromaShiftX());
    std::uint32_t const stepY = GetPixelStep(filtered.GetChromaShiftY());
    if (filtered.IsRgb() || info.width % stepX != 0 || info.height % stepY != 0)
        Core::Throw<EffectException>(
            {s_file, signature},
            fmt::format("{} takes planar YUV of a width divisible by {} and a height divisible by {}, "
                        "not {} of {}x{}",
                        SettingsType::CLASS_ID, stepX, stepY, description.GetName(), info.width,
                        info.height));

    std::int64_t const rows = GetDetectionRows(settings);
    if (settings.detectionPass && (rows - info.height) * info.width > s_mostOutside)
        Core::Throw<EffectException>(
            {s_file, signature},
            fmt::format("{} detects motion in frames of a width of {} from a height of {}, not {}",
                        SettingsType::CLASS_ID, info.width, rows, info.height));
}

SP<IOneInputEffectVideo> CreateEffectDeshake(SP<IEffectFactory const> const&,
                                             SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<DeshakeActions>>();
}

SP<IOneInputEffectVideo> CreateEffectStabilizer(SP<IEffectFactory const> const&,
                                                SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<StabilizerActions>>();
}

} // namespace Tarsel::Proc
