#include "Proc/Settings/Stabilize.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Files.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/// Camera shake taken out.
namespace Tarsel::Proc {
namespace {

using Stabilizer = SettingsEffectStabilizer;
using Conf::PixFmt;
using Conf::PixFmtDescription;

/// What the filters get for such frames: FFmpeg converts what is not one of their formats to the nearest.
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

// The filter's words for what settings hold. Numbers that the enumeration lacks become its last word.

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

char const* GetWord(Stabilizer::Optimization optimization) {
    return optimization == Stabilizer::Optimization::Gauss ? "gauss" : "avg";
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

template <>
struct EffectActions<SettingsEffectDeshake> {
    using SettingsType = SettingsEffectDeshake;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{.summary = "removes camera shake in one pass",
                                           .alpha = Keeps::Never,
                                           .depth = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        return fmt::format("deshake=rx=64:ry=64:blocksize={}", settings.blockSize);
    }
};

/// Two passes over a clip, each by an effect of its own or by one whose settings change in between. The file
/// of the first is complete when its graph is gone: after End, Reset, other settings, or the effect's end.
template <>
struct EffectActions<SettingsEffectStabilizer> {
    using SettingsType = SettingsEffectStabilizer;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{.summary = "removes camera shake in two passes",
                                           .takes = Takes::PlanarYuv,
                                           .evenSize = true,
                                           .depth = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false};

    /// EffectException "File with statistics unavailable" for the second pass without the file of the first.
    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        if (settings.detectionPass)
            return fmt::format("vidstabdetect=show=0:shakiness={}:accuracy={}:stepsize={}:mincontrast={:.6f}:"
                               "result={}",
                               settings.shakiness, settings.accuracy, settings.stepSize,
                               settings.minContrast / 100.0, settings.statisticsPath);
        if (!Core::FileExists(Core::ioPath(settings.statisticsPath)))
            Core::Throw<EffectException>(
                {s_videoEffectFile,
                 "static std::string EffectActions<Tarsel::Proc::SettingsEffectStabilizer>::GetFFString("
                 "const SettingsType &, const FrameInfo &)"},
                "File with statistics unavailable", TagDetail("no file \"" + settings.statisticsPath + '"'));
        return fmt::format("vidstabtransform=smoothing={}:optalgo={}:crop={}:zoom={}:optzoom={}:interpol={}:"
                           "input={}",
                           settings.smoothing, GetWord(settings.optimization), GetWord(settings.cropMode),
                           settings.zoom, GetWord(settings.optimalZoom), GetWord(settings.interpolation),
                           settings.statisticsPath);
    }

    /// A detection that is built empties its file at once.
    static std::string GetQueryFFString(SettingsType settings, Conf::FrameInfo const& info) {
        if (settings.detectionPass)
            settings.statisticsPath = "/dev/null";
        return GetFFString(settings, info);
    }

    /// The filters end the process for odd sizes, for RGB and what FFmpeg would turn into it, and the first
    /// pass for frames that are much too low.
    static void CheckFormat(SettingsType const& settings, PixFmt format, Conf::FrameInfo const& info) {
        PixFmtDescription const& description = PixFmtDescription::Find(format);
        PixFmtDescription const& filtered = GetFilterFormat(description);
        std::uint32_t const stepX = GetPixelStep(filtered.GetChromaShiftX());
        std::uint32_t const stepY = GetPixelStep(filtered.GetChromaShiftY());
        if (filtered.IsRgb() || info.width % stepX != 0 || info.height % stepY != 0)
            Core::Throw<EffectException>(fmt::format(
                "{} takes planar YUV of a width divisible by {} and a height divisible by {}, "
                "not {} of {}x{}",
                SettingsType::CLASS_ID, stepX, stepY, description.GetName(), info.width, info.height));

        std::int64_t const rows = GetDetectionRows(settings);
        if (settings.detectionPass && (rows - info.height) * info.width > s_mostOutside)
            Core::Throw<EffectException>(
                fmt::format("{} detects motion in frames of a width of {} from a height of {}, not {}",
                            SettingsType::CLASS_ID, info.width, rows, info.height));
    }
};

template EffectCreator GetCreator<SettingsEffectDeshake>();
template EffectCreator GetCreator<SettingsEffectStabilizer>();

} // namespace Tarsel::Proc
