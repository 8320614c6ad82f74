#include "Proc/Settings/Format.h"

#include "Proc/Settings/FieldTable.h"

namespace Tarsel::Proc {

namespace {

using Converter = SettingsPixelFormatConverter;
constexpr std::array s_formatColumns{
    FieldColumn{.key = "format", .kind = FieldKind::PixelFormat, .help = "name of a pixel format"},
};
constexpr std::array s_converterFields{
    MakeField<&Converter::formats>({
        .key = "formats",
        .help = "allowed pixel formats; the nearest one is used",
        .columns = s_formatColumns,
    }),
    MakeField<&Converter::hasAlpha>({
        .key = "alpha",
        .initial = true,
        .help = "consider alpha when choosing the nearest format",
    }),
    MakeField<&Converter::background>({
        .key = "background",
        .initial = Conf::PixColor{},
        .help = "background color where alpha is lost",
    }),
    MakeField<&Converter::refuseLoss>({
        .key = "refuse-loss",
        .initial = false,
        .help = "fail rather than lose depth, resolution, color or alpha",
    }),
    MakeField<&Converter::colors>({
        .key = "colors",
        .alias = "colours",
        .initial = 255,
        .minimum = 1,
        .maximum = 255,
        .help = "largest number of colors in a palette, besides black",
    }),
    MakeField<&Converter::dither>({
        .key = "dither",
        .initial = false,
        .help = "diffuse the error of a palette to neighboring pixels",
    }),
    MakeField<&Converter::accurate>({
        .key = "accurate",
        .initial = false,
        .help = "interpolate chroma for every pixel of RGB; slower",
    }),
};
constexpr SettingsTable s_converter =
    MakeTable("pixel-format", s_converterFields,
              "convert palette rgb yuv gray grayscale depth bits dither 10-bit 8-bit");

using Resizer = SettingsResizer;
constexpr std::array s_fits{
    FieldWord("stretch", Resizer::Fit::Stretch, "stretch to exactly that size"),
    FieldWord("inside", Resizer::Fit::Inside, "as large as fits; one side may come out smaller"),
    FieldWord("pad", Resizer::Fit::Pad, "as large as fits, with bars of the background color"),
    FieldWord("crop", Resizer::Fit::Crop, "fill that size and crop the rest"),
};
constexpr std::array s_scalers{
    FieldWord("fast_bilinear", Resizer::Algorithm::FastBilinear, ""),
    FieldWord("bilinear", Resizer::Algorithm::Bilinear, ""),
    FieldWord("bicubic", Resizer::Algorithm::Bicubic, ""),
    FieldWord("neighbor", Resizer::Algorithm::Neighbor, "nearest pixel"),
    FieldWord("area", Resizer::Algorithm::Area, "average of the area, for downscaling"),
    FieldWord("gauss", Resizer::Algorithm::Gauss, "Gaussian"),
    FieldWord("sinc", Resizer::Algorithm::Sinc, ""),
    FieldWord("lanczos", Resizer::Algorithm::Lanczos, ""),
    FieldWord("spline", Resizer::Algorithm::Spline, "natural bicubic spline"),
};
constexpr std::array s_resizerFields{
    MakeField<&Resizer::width>({
        .key = "width",
        .initial = 0,
        .maximum = s_maxSide,
        .unit = "pixels",
        .help = "width of the result, rounded to whole chroma samples; 0 follows from height and the aspect "
                "ratio",
    }),
    MakeField<&Resizer::height>({
        .key = "height",
        .initial = 0,
        .maximum = s_maxSide,
        .unit = "pixels",
        .help = "height of the result, rounded likewise; 0 follows from width and the aspect ratio",
    }),
    MakeField<&Resizer::fit>({
        .key = "fit",
        .initial = Resizer::Fit::Stretch,
        .help = "how to handle frames of another aspect ratio",
        .words = s_fits,
    }),
    MakeField<&Resizer::algorithm>({
        .key = "algorithm",
        .initial = Resizer::Algorithm::Bicubic,
        .help = "how pixels are interpolated",
        .words = s_scalers,
    }),
    MakeField<&Resizer::background>({
        .key = "background",
        .initial = Conf::PixColor{},
        .help = "color of the bars, for fit=pad",
    }),
};
constexpr SettingsTable s_resizer =
    MakeTable("resize", s_resizerFields,
              "scale size resolution crop fit pad letterbox zoom width height enlarge shrink thumbnail");

using Resample = SettingsResample;
constexpr std::array s_sampleFormats{
    FieldWord("input", Conf::SampleFormats::Unknown, "that of the input"),
    FieldWord("u8", Conf::SampleFormats::U8, ""),
    FieldWord("s16", Conf::SampleFormats::S16, ""),
    FieldWord("s32", Conf::SampleFormats::S32, ""),
    FieldWord("flt", Conf::SampleFormats::Float, ""),
    FieldWord("dbl", Conf::SampleFormats::Double, ""),
    FieldWord("u8p", Conf::SampleFormats::U8Planar, "planar"),
    FieldWord("s16p", Conf::SampleFormats::S16Planar, "planar"),
    FieldWord("s32p", Conf::SampleFormats::S32Planar, "planar"),
    FieldWord("fltp", Conf::SampleFormats::FloatPlanar, "planar"),
    FieldWord("dblp", Conf::SampleFormats::DoublePlanar, "planar"),
};
constexpr std::array s_resampleFields{
    MakeField<&Resample::format>({
        .key = "format",
        .initial = Conf::SampleFormats::Unknown,
        .help = "type of the samples",
        .words = s_sampleFormats,
    }),
    MakeField<&Resample::rate>({
        .key = "rate",
        .initial = 0,
        .maximum = 768000,
        .unit = "Hz",
        .help = "sample rate; 0 for that of the input",
        .option = {.filter = "aresample",
                   .option = "sample_rate",
                   .narrower = "beyond any converter there is; higher rates only exhaust memory"},
    }),
    MakeField<&Resample::layout>({
        .key = "layout",
        .help = "channel layout; none for that of the input",
    }),
};
constexpr SettingsTable s_resample = MakeTable(
    "resample", s_resampleFields, "rate channels mono stereo downmix upmix convert bits depth frequency");

} // namespace

std::string const SettingsPixelFormatConverter::CLASS_ID{s_converter.classId};

SettingsTable const& SettingsPixelFormatConverter::GetTable() noexcept {
    return s_converter;
}

bool SettingsPixelFormatConverter::IsEmpty() const {
    return formats.empty();
}

std::string const SettingsResizer::CLASS_ID{s_resizer.classId};

SettingsTable const& SettingsResizer::GetTable() noexcept {
    return s_resizer;
}

bool SettingsResizer::IsEmpty() const {
    return width == 0 && height == 0;
}

std::string const SettingsResample::CLASS_ID{s_resample.classId};

SettingsTable const& SettingsResample::GetTable() noexcept {
    return s_resample;
}

bool SettingsResample::IsEmpty() const {
    return GetOutput() == Conf::SampleInfo{};
}

Conf::SampleInfo SettingsResample::GetOutput() const noexcept {
    return {format, rate > 0 ? rate : -1, layout};
}

} // namespace Tarsel::Proc
