#include "Proc/Settings/Stylize.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Graph/FrameFault.h"
#include "Proc/Effects/Lumenta/Graph/FrameSize.h"
#include "Proc/Effects/Lumenta/Kernels/EdgeDetect.h"
#include "Proc/Effects/Lumenta/Kernels/Emboss.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameRoom.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/eval.h>
#include <libavutil/frame.h>
}

/// Pictures in another style: edges, relief, negative, few colors, a border.
namespace Tarsel::Proc {
namespace {

/// One coordinate of the picture that is taken away. The doubled minus of a negative offset means a plus to
/// the filter.
struct Offset {
    std::int32_t pixels;

    friend std::ostream& operator<<(std::ostream& stream, Offset offset) {
        return stream << (offset.pixels > 0 ? '+' : '-') << offset.pixels;
    }
};

struct NegateOption {
    SettingsEffectNegateVideo::Channel channel;
    char const* text;
};
constexpr std::array s_negateOptions{NegateOption{SettingsEffectNegateVideo::Red, "r=negval:"},
                                     NegateOption{SettingsEffectNegateVideo::Green, "g=negval:"},
                                     NegateOption{SettingsEffectNegateVideo::Blue, "b=negval:"}};

/// What the fractions of a border are multiplied with: for left and right, for top and bottom.
struct BorderUnits {
    char const* horizontal;
    char const* vertical;
};
constexpr char const* s_shorter = "'min(iw, ih)'*";
constexpr char const* s_longer = "'max(iw, ih)'*";
/// By SettingsEffectBorder::SizeType, from OwnSize on.
constexpr std::array s_borderUnits{BorderUnits{"iw*", "ih*"}, BorderUnits{"iw*", "iw*"},
                                   BorderUnits{"ih*", "ih*"}, BorderUnits{s_shorter, s_shorter},
                                   BorderUnits{s_longer, s_longer}};

/// The filter's expressions: the size that comes out and the place of the picture in it.
struct Pad {
    std::string width;
    std::string height;
    std::string x;
    std::string y;
};

template <class... Parts>
std::string Write(Parts const&... parts) {
    constexpr int digits = 7;
    std::ostringstream text = MakeOptionStream();
    text << std::setprecision(digits);
    (text << ... << parts);
    return text.str();
}

Pad MakePad(SettingsEffectBorder const& border) {
    using SizeType = SettingsEffectBorder::SizeType;
    if (border.sizeType == SizeType::Pixels)
        return {Write("iw+", border.leftPixels + border.rightPixels),
                Write("ih+", border.topPixels + border.bottomPixels), Write(border.leftPixels),
                Write(border.topPixels)};
    std::size_t const row = static_cast<std::size_t>(border.sizeType) - 1;
    if (row >= s_borderUnits.size())
        Core::Throw<std::logic_error>(
            {s_videoEffectFile,
             "static std::string EffectActions<Tarsel::Proc::SettingsEffectBorder>::GetFFString("
             "const SettingsEffectBorder &, const FrameInfo &) "
             "[Settings = Tarsel::Proc::SettingsEffectBorder]"},
            "Unreal Logic",
            TagDetail(fmt::format("size type {}, not 0 to {}", static_cast<std::uint32_t>(border.sizeType),
                                  s_borderUnits.size())));
    BorderUnits const units = s_borderUnits[row];
    std::string x = Write(units.horizontal, border.leftFraction);
    std::string y = Write(units.vertical, border.topFraction);
    if (border.sizeType == SizeType::OwnSize)
        return {Write(units.horizontal, border.leftFraction + 1.0 + border.rightFraction),
                Write(units.vertical, border.topFraction + 1.0 + border.bottomFraction), std::move(x),
                std::move(y)};
    return {Write("iw + ", units.horizontal, border.leftFraction + border.rightFraction),
            Write("ih + ", units.vertical, border.topFraction + border.bottomFraction), std::move(x),
            std::move(y)};
}

/// The size that the filter makes of one of its expressions, whole pixels of chroma; nothing where it would
/// refuse it.
std::optional<std::uint32_t> EvaluateSize(std::string expression, Conf::FrameInfo const& info, int shift) {
    std::erase(expression, '\''); // they keep the commas from the graph's parser
    constexpr char const* names[]{"iw", "ih", nullptr};
    double const values[]{static_cast<double>(info.width), static_cast<double>(info.height), 0.0};
    double size = 0.0;
    int const error = av_expr_parse_and_eval(&size, expression.c_str(), names, values, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, 0, nullptr);
    if (error < 0) // nothing is wrong with the expression: memory, whatever FFmpeg says
        ThrowFilterErrorOrMemory(Core::Site::Here(), "Cannot configure graph", error, {expression, {}});
    if (!(size >= 1.0 && size <= std::numeric_limits<std::int32_t>::max()))
        return std::nullopt;
    return static_cast<std::uint32_t>(size) >> shift << shift;
}

} // namespace

namespace EdgeDetect {
namespace {

// NOLINTNEXTLINE(readability-identifier-naming)
constexpr std::array g_modes{std::pair{SettingsEffectEdgeDetect::Mode::Wires, "wires"},
                             std::pair{SettingsEffectEdgeDetect::Mode::ColorMix, "colormix"}};

} // namespace

void SetMode(SettingsEffectEdgeDetect::Mode mode, std::ostream& stream) {
    for (auto const& [known, name] : g_modes)
        if (known == mode)
            stream << ":mode=" << name;
}

} // namespace EdgeDetect

template <>
struct EffectActions<SettingsEffectEdgeDetect> {
    using SettingsType = SettingsEffectEdgeDetect;
    static constexpr EffectTraits s_traits{
        .summary = "draws the edges in frames", .alpha = Keeps::Never, .depth = Keeps::Never};
    static constexpr int s_thresholdDigits = 2;

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeOptionStream();
        text << "edgedetect" << std::setprecision(s_thresholdDigits) << "=low=" << settings.lowThreshold
             << ":high=" << settings.highThreshold;
        EdgeDetect::SetMode(settings.mode, text);
        return text.str();
    }

    static FastWay MakeFastWay(SettingsType const& settings, Conf::PixFmt format,
                               Conf::FrameInfo const& info) {
        bool const mixes = settings.mode == SettingsType::Mode::ColorMix;
        double const low = ReadAsWritten(settings.lowThreshold, s_thresholdDigits);
        double const high = ReadAsWritten(settings.highThreshold, s_thresholdDigits);
        if (!(0 <= low && low <= high && high <= 1) ||
            !CoversEdgeDetect(format, info.width, info.height, mixes))
            return {};
        bool const isRgb = Conf::PixFmtDescription::Find(format).IsRgb();
        auto const detector = std::make_shared<EdgeDetector>();
        return {isRgb ? format : Conf::PixFmt::GRAY8, [=](AVFrame const& from, AVFrame& to) {
                    EdgeKind const wires =
                        IsStretchedToGray(from) ? EdgeKind::StretchedWires : EdgeKind::Wires;
                    for (int plane = 0; plane < (isRgb ? 3 : 1); ++plane) {
                        auto const [source, target, width, height] = GetPlanes(from, to, plane);
                        detector->Detect(mixes ? EdgeKind::Mix : wires, {source, target, width, height}, low,
                                         high);
                    }
                }};
    }

    static void CheckFormat(SettingsType const&, Conf::PixFmt format, Conf::FrameInfo const& info) {
        // The two first and two last rows are copied apart, and four columns of each row between.
        constexpr SmallestFrame smallest{2, 4};
        RequireFrameSize(format, info, smallest, SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template <>
struct EffectActions<SettingsEffectEmboss> {
    using SettingsType = SettingsEffectEmboss;
    static constexpr EffectTraits s_traits{.summary = "turns frames into a relief",
                                           .alpha = Keeps::Sometimes,
                                           .depth = Keeps::Sometimes,
                                           .range = Keeps::Sometimes,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "geq=lum_expr='(p(X,Y)+(256-p(X" << Offset{settings.horizontalOffset} << ",Y"
             << Offset{settings.verticalOffset} << ")))/2'";
        if (!settings.keepColor)
            text << ",format=gray";
        return text.str();
    }

    static FastWay MakeFastWay(SettingsType const& settings, Conf::PixFmt format,
                               Conf::FrameInfo const& info) {
        bool const toGray = !settings.keepColor;
        // Up to FFmpeg 6 the filter reads neither the last row nor the last column.
        std::size_t const unread = avfilter_version() >> 16 > 9 ? 0 : 1;
        if (!CoversEmboss(format, info.width, info.height, toGray, unread))
            return {};
        auto const& pixels = Conf::PixFmtDescription::Find(format);
        bool const isDeep = pixels.GetDepth() > 8;
        int const planes = toGray || pixels.IsGray() ? 1 : 3;
        // Two signs before a number: the filter takes the one for the other.
        auto const right = static_cast<std::size_t>(std::abs(std::int64_t{settings.horizontalOffset}));
        auto const below = static_cast<std::size_t>(std::abs(std::int64_t{settings.verticalOffset}));
        return {toGray ? Conf::PixFmt::GRAY8 : format, [=](AVFrame const& from, AVFrame& to) {
                    EmbossKind kind = isDeep ? EmbossKind::Words : EmbossKind::Bytes;
                    if (toGray && IsStretchedToGray(from))
                        kind = EmbossKind::StretchedBytes;
                    for (int plane = 0; plane < planes; ++plane) {
                        auto const [source, target, width, height] = GetPlanes(from, to, plane);
                        EmbossPlane(kind, {source, target, width, height, right, below, unread});
                    }
                }};
    }

    /// The filter makes a picture without an expression for alpha transparent.
    static bool KeepsAlpha(SettingsType const&) { return true; }
};

template <>
struct EffectActions<SettingsEffectNegateVideo> {
    using SettingsType = SettingsEffectNegateVideo;
    static constexpr EffectTraits s_traits{
        .summary = "inverts channels", .alpha = Keeps::Sometimes, .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        bool const alpha = (settings.channels & SettingsType::Alpha) != 0;
        bool allColors = true;
        std::string text = "lutrgb='";
        for (NegateOption const& option : s_negateOptions)
            if ((settings.channels & option.channel) != 0)
                text += option.text;
            else
                allColors = false;
        if (alpha)
            text += allColors ? "a=negval" : "a=negval:";
        return text + '\'';
    }
};

template <>
struct EffectActions<SettingsEffectPosterize> {
    using SettingsType = SettingsEffectPosterize;
    // Each frame begins its search for colors where the random numbers of the one before ended.
    static constexpr EffectTraits s_traits{.summary = "reduces frames to a few colors",
                                           .alpha = Keeps::Never,
                                           .depth = Keeps::Never,
                                           .frameIndependent = false};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "elbg=seed=" << settings.seed << ":l=" << settings.colorCount;
        if (settings.palette)
            text << ":pal8=1";
        text << ":use_alpha=true";
        return text.str();
    }

    /// The filter reads a fourth component of each pixel, also where a format has three: then it is the next
    /// pixel's first, and behind a row whatever lies there. Zeros, so that chance has no say.
    static SP<IDataVideo> Prepare(SettingsType const&, SP<IDataVideo> const& data) {
        Conf::PixFmt const format = data->GetPixelFormat();
        if (format != Conf::PixFmt::RGB24 && format != Conf::PixFmt::BGR24)
            return data;
        AVFrame const& frame = Details::GetAVFrameRef(data->GetAVFrame());
        if (!FindFrameFault(*data, frame, "Frame").empty())
            return data; // it is refused where it is fed
        SafeFrame copy = CopyWithRoomBehind(frame);
        std::ptrdiff_t const lineSize = copy->linesize[0];
        auto const rowBytes = 3 * static_cast<std::ptrdiff_t>(copy->width);
        for (std::ptrdiff_t y = 0; y < copy->height; ++y)
            if (rowBytes < lineSize || y == copy->height - 1)
                copy->data[0][y * lineSize + rowBytes] = 0;
        return MakeSP<DataVideoFF>(std::move(copy), data->GetFrameInfo());
    }

    /// With more colors than there is use for, the filter takes minutes and gigabytes, and no signal ends it.
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt, Conf::FrameInfo const& info) {
        std::uint64_t const pixels = std::uint64_t{info.width} * info.height;
        auto const most = std::min<std::uint64_t>(pixels, SettingsType::MOST_COLORS);
        if (settings.colorCount > 0 && static_cast<std::uint64_t>(settings.colorCount) > most)
            Core::Throw<EffectException>(fmt::format("{} takes 1 to {} colors in frames of {}x{}, not {}",
                                                     SettingsType::CLASS_ID, most, info.width, info.height,
                                                     settings.colorCount));
    }
};

template <>
struct EffectActions<SettingsEffectBorder> {
    using SettingsType = SettingsEffectBorder;
    static constexpr EffectTraits s_traits{.summary = "adds a border of one color",
                                           .roundsToChroma = true,
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Never};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        Pad const pad = MakePad(settings);
        Conf::PixColor const color = settings.color;
        return fmt::format("pad={}:{}:{}:{}:color=#{:02x}{:02x}{:02x}{:02x}", pad.width, pad.height, pad.x,
                           pad.y, color.red, color.green, color.blue, color.alpha);
    }

    /// Gives the format the size of the frames that come out.
    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format) {
        Pad const pad = MakePad(settings);
        auto const& pixels = Conf::PixFmtDescription::Find(format->GetPixelFormat());
        Conf::FrameInfo const info = format->GetFrameInfo();
        auto const width = EvaluateSize(pad.width, info, pixels.GetChromaShiftX());
        auto const height = EvaluateSize(pad.height, info, pixels.GetChromaShiftY());
        if (width && height)
            format->InitByPixelAspect(*width, *height, info.aspectNum, info.aspectDen);
    }
};

template EffectCreator GetCreator<SettingsEffectEdgeDetect>();
template EffectCreator GetCreator<SettingsEffectEmboss>();
template EffectCreator GetCreator<SettingsEffectNegateVideo>();
template EffectCreator GetCreator<SettingsEffectPosterize>();
template EffectCreator GetCreator<SettingsEffectBorder>();

} // namespace Tarsel::Proc
