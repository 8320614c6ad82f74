#include "Proc/Settings/Stylize.h"

#include "Proc/Settings/FieldTable.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace {

using EdgeDetect = SettingsEffectEdgeDetect;
constexpr std::array s_edgeModes{
    FieldWord("default", EdgeDetect::Mode::Default, "the filter's default: wires"),
    FieldWord("wires", EdgeDetect::Mode::Wires, "white and gray wires on black"),
    FieldWord("colormix", EdgeDetect::Mode::ColorMix, "mixed with the colors: like a painting"),
};
constexpr std::array s_edgeDetectFields{
    MakeField<&EdgeDetect::mode>({
        .key = "mode",
        .initial = EdgeDetect::Mode::Default,
        .help = "how edges are drawn",
        .words = s_edgeModes,
        .option = {.filter = "edgedetect", .option = "mode", .form = FilterOption::Form::Word},
    }),
    MakeField<&EdgeDetect::lowThreshold>({
        .key = "low",
        .initial = 20 / 255.0,
        .maximum = 1,
        .help = "edges continue where they are stronger than this (cut to two digits); not above high",
        .option = {"edgedetect", "low"},
    }),
    MakeField<&EdgeDetect::highThreshold>({
        .key = "high",
        .initial = 50 / 255.0,
        .maximum = 1,
        .help = "edges begin where they are stronger than this (cut to two digits); not below low",
        .option = {"edgedetect", "high"},
    }),
};
std::string FindConflict(EdgeDetect const& edges) {
    if (edges.lowThreshold <= edges.highThreshold)
        return {};
    return fmt::format("give low 0 to {1}, the value of high: low={0} is above high={1}", edges.lowThreshold,
                       edges.highThreshold);
}
constexpr SettingsTable s_edgeDetect =
    MakeTable("edge-detect", s_edgeDetectFields, "edges outline contour lines drawing sketch cartoon canny",
              FindConflictOf<EdgeDetect, FindConflict>);

using Emboss = SettingsEffectEmboss;
constexpr std::array s_embossFields{
    MakeField<&Emboss::horizontalOffset>({
        .key = "x",
        .initial = 1,
        .minimum = -s_maxSide,
        .maximum = s_maxSide,
        .unit = "pixels",
        .help = "offset to the right of the frame that is subtracted",
    }),
    MakeField<&Emboss::verticalOffset>({
        .key = "y",
        .initial = 1,
        .minimum = -s_maxSide,
        .maximum = s_maxSide,
        .unit = "pixels",
        .help = "its downward offset",
    }),
    MakeField<&Emboss::keepColor>({
        .key = "keep-color",
        .initial = false,
        .help = "keep a relief of the colors: the edges of colored areas on gray; otherwise all is gray",
    }),
};
constexpr SettingsTable s_emboss = MakeTable("emboss", s_embossFields, "relief bump engrave");

using Negate = SettingsEffectNegateVideo;
constexpr std::array s_channels{
    FieldWord("red", Negate::Red, ""),
    FieldWord("green", Negate::Green, ""),
    FieldWord("blue", Negate::Blue, ""),
    FieldWord("alpha", Negate::Alpha, ""),
};
constexpr std::array s_negateFields{
    MakeField<&Negate::channels>({
        .key = "channels",
        .initial = Negate::Red | Negate::Green | Negate::Blue,
        .help = "channels to invert",
        .words = s_channels,
    }),
};
constexpr SettingsTable s_negate = MakeTable("negate", s_negateFields, "invert negative inverse");

using Posterize = SettingsEffectPosterize;
constexpr double s_maxInt32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t s_mostPaletteColors = 256;
constexpr std::array s_posterizeFields{
    MakeField<&Posterize::colorCount>({
        .key = "colors",
        .initial = 8,
        .minimum = 1,
        .maximum = Posterize::MOST_COLORS,
        .help = "number of colors; at most 256 with a palette, and no more than the frame has pixels",
        .option = {.filter = "elbg",
                   .option = "codebook_length",
                   .narrower =
                       "nobody tells more apart, and the filter takes minutes and gigabytes for them"},
    }),
    MakeField<&Posterize::palette>({
        .key = "palette",
        .initial = false,
        .help = "output frames with a palette",
        .option = {"elbg", "pal8"},
    }),
    MakeField<&Posterize::seed>({
        .key = "seed",
        .initial = 1,
        .minimum = -1,
        .maximum = s_maxInt32,
        .help = "seed of the random numbers; -1 takes another one each time",
        .option = {.filter = "elbg", .option = "seed", .narrower = "kept in 32 bits with a sign"},
    }),
    MakeField<&Posterize::hostValue>({
        .key = "host-value",
        .initial = 0.0,
        .minimum = -1e30,
        .maximum = 1e30,
        .help = "number kept for the host; it does not change the frames",
    }),
};
std::string FindConflict(Posterize const& posterize) {
    if (!posterize.palette || posterize.colorCount <= s_mostPaletteColors)
        return {};
    return fmt::format("give colors 1 to {}, or palette=0: a palette cannot hold colors={}",
                       s_mostPaletteColors, posterize.colorCount);
}
constexpr SettingsTable s_posterize =
    MakeTable("posterize", s_posterizeFields, "posterise poster palette colors quantize cartoon reduce",
              FindConflictOf<Posterize, FindConflict>);

using Border = SettingsEffectBorder;
constexpr std::array s_sizeTypes{
    FieldWord("pixels", Border::SizeType::Pixels, "in pixels: left, right, top, bottom"),
    FieldWord("own", Border::SizeType::OwnSize,
              "fractions of the width (left, right) and height (top, bottom)"),
    FieldWord("width", Border::SizeType::Width, "fractions of the width"),
    FieldWord("height", Border::SizeType::Height, "fractions of the height"),
    FieldWord("shorter", Border::SizeType::ShorterSide, "fractions of the shorter side"),
    FieldWord("longer", Border::SizeType::LongerSide, "fractions of the longer side"),
};

template <auto Member>
consteval Field MakePixels(std::string_view key, std::string_view help) {
    return MakeField<Member>(
        {.key = key, .initial = 0, .maximum = s_maxSide, .unit = "pixels", .help = help});
}

template <auto Member>
consteval Field MakeFraction(std::string_view key, std::string_view help) {
    return MakeField<Member>({.key = key, .initial = 0.0, .maximum = 16, .help = help});
}

constexpr std::array s_borderFields{
    MakeField<&Border::sizeType>({
        .key = "type",
        .initial = Border::SizeType::Pixels,
        .help = "what the sides are measured in",
        .words = s_sizeTypes,
    }),
    MakePixels<&Border::leftPixels>("left", "left side, for type=pixels"),
    MakePixels<&Border::rightPixels>("right", "right side, for type=pixels"),
    MakePixels<&Border::topPixels>("top", "top side, for type=pixels"),
    MakePixels<&Border::bottomPixels>("bottom", "bottom side, for type=pixels"),
    MakeFraction<&Border::leftFraction>("left-fraction", "left side, for every other type"),
    MakeFraction<&Border::rightFraction>("right-fraction", "right side, for every other type"),
    MakeFraction<&Border::topFraction>("top-fraction", "top side, for every other type"),
    MakeFraction<&Border::bottomFraction>("bottom-fraction", "bottom side, for every other type"),
    MakeField<&Border::color>({.key = "color", .initial = Conf::PixColor{}, .help = "color of the border"}),
};
constexpr SettingsTable s_border =
    MakeTable("border", s_borderFields, "frame margin padding pad bars letterbox pillarbox canvas");

} // namespace

std::string const SettingsEffectEdgeDetect::CLASS_ID{s_edgeDetect.classId};

SettingsTable const& SettingsEffectEdgeDetect::GetTable() noexcept {
    return s_edgeDetect;
}

bool SettingsEffectEdgeDetect::IsEmpty() const {
    return false;
}

std::string const SettingsEffectEmboss::CLASS_ID{s_emboss.classId};

SettingsTable const& SettingsEffectEmboss::GetTable() noexcept {
    return s_emboss;
}

bool SettingsEffectEmboss::IsEmpty() const {
    return false;
}

std::string const SettingsEffectNegateVideo::CLASS_ID{s_negate.classId};

SettingsTable const& SettingsEffectNegateVideo::GetTable() noexcept {
    return s_negate;
}

bool SettingsEffectNegateVideo::IsEmpty() const {
    return channels == 0;
}

std::string const SettingsEffectPosterize::CLASS_ID{s_posterize.classId};

SettingsTable const& SettingsEffectPosterize::GetTable() noexcept {
    return s_posterize;
}

bool SettingsEffectPosterize::IsEmpty() const {
    return false;
}

std::string const SettingsEffectBorder::CLASS_ID{s_border.classId};

SettingsTable const& SettingsEffectBorder::GetTable() noexcept {
    return s_border;
}

bool SettingsEffectBorder::IsEmpty() const {
    if (sizeType == SizeType::Pixels)
        return leftPixels == 0 && rightPixels == 0 && topPixels == 0 && bottomPixels == 0;
    return sizeType <= SizeType::LongerSide && leftFraction == 0.0 && rightFraction == 0.0 &&
           topFraction == 0.0 && bottomFraction == 0.0;
}

} // namespace Tarsel::Proc
