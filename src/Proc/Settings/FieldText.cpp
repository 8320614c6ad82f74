#include "Conf/PixFmtDescription.h"
#include "Core/Text.h"
#include "Proc/Settings/Field.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tarsel::Proc {

namespace {

/// An integer without exponent; whatever is none, as it is.
std::string IntegerText(double value) {
    constexpr double exact = 9007199254740992.0; // 2^53
    bool const isInteger = value >= -exact && value <= exact && std::trunc(value) == value;
    return isInteger ? Core::NumberToText(static_cast<std::int64_t>(value)) : Core::NumberToText(value);
}

std::string RealText(double value, bool single) {
    return single ? Core::NumberToText(static_cast<float>(value)) : Core::NumberToText(value);
}

std::string PixelFormatText(double number) {
    if (number == static_cast<double>(Conf::PixFmt::None))
        return "none";
    for (Conf::PixFmt const format : Conf::PixFmtDescription::s_supportedFormats) {
        if (number == static_cast<double>(format))
            return Conf::PixFmtDescription::Find(format).GetName();
    }
    return IntegerText(number);
}

std::string WordText(std::span<FieldWord const> words, std::int64_t value) {
    auto const word = std::ranges::find(words, value, &FieldWord::value);
    return word == words.end() ? Core::NumberToText(value) : std::string(word->text);
}

std::string MaskText(std::span<FieldWord const> words, std::int64_t value) {
    std::string text;
    std::int64_t rest = value;
    for (FieldWord const& word : words) {
        if ((value & word.value) == 0)
            continue;
        rest &= ~word.value;
        text += text.empty() ? "" : "+";
        text += word.text;
    }
    return rest == 0 && value != 0 ? text : Core::NumberToText(value);
}

std::string ColorText(Conf::PixColor const& color) {
    std::string const rgb = fmt::format("#{:02x}{:02x}{:02x}", color.red, color.green, color.blue);
    return color.alpha == 255 ? rgb : rgb + fmt::format("{:02x}", color.alpha);
}

std::string ListText(std::span<FieldColumn const> columns, std::vector<double> const& values) {
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i != 0)
            text += i % columns.size() == 0 ? '|' : '/';
        text += ToText(columns[i % columns.size()], values[i]);
    }
    return text;
}

/// "0 to 3 (quarter turns)"; limits that are those of double are left out.
std::string NumberRangeText(double minimum, double maximum, std::string_view unit, bool whole, bool single) {
    constexpr double huge = std::numeric_limits<double>::max();
    auto const number = [&](double value) {
        std::string const shortest = whole ? IntegerText(value) : RealText(value, single);
        bool const isSmall = shortest.find("e-0") != std::string::npos;
        return isSmall ? fmt::format("{:.{}f}", value, shortest.back() - '0') : shortest;
    };
    std::string text;
    if (maximum >= huge)
        text = minimum <= -huge ? "any number" : number(minimum) + " or more";
    else
        text = number(minimum) + " to " + number(maximum);
    return unit.empty() ? text : fmt::format("{} ({})", text, unit);
}

std::string WordsText(std::span<FieldWord const> words) {
    return Core::Utils::ToString(words, ", ", [](FieldWord const& word) { return word.text; });
}

} // namespace

std::string ToText(FieldColumn const& column, double value) {
    if (column.kind == FieldKind::PixelFormat)
        return PixelFormatText(value);
    return column.kind == FieldKind::Integer ? IntegerText(value) : RealText(value, false);
}

std::string ToText(Field const& field, FieldValue const& value) {
    switch (field.kind) {
    case FieldKind::Flag:
        return std::get<bool>(value) ? "1" : "0";
    case FieldKind::Integer:
        return Core::NumberToText(std::get<std::int64_t>(value));
    case FieldKind::Real:
        return RealText(std::get<double>(value), field.single);
    case FieldKind::Word:
        return WordText(field.words, std::get<std::int64_t>(value));
    case FieldKind::Mask:
        return MaskText(field.words, std::get<std::int64_t>(value));
    case FieldKind::Text:
        return std::get<std::string>(value);
    case FieldKind::Color:
        return ColorText(std::get<Conf::PixColor>(value));
    case FieldKind::PixelFormat:
        return PixelFormatText(static_cast<double>(std::get<std::int64_t>(value)));
    case FieldKind::ChannelLayout:
        return std::get<std::string>(value).empty() ? "none" : std::get<std::string>(value);
    case FieldKind::List:
        return ListText(field.columns, std::get<std::vector<double>>(value));
    case FieldKind::Matrix:
        return Core::Utils::ToString(std::get<std::vector<double>>(value), "/", IntegerText);
    }
    return {};
}

std::string GetRangeText(FieldColumn const& column) {
    if (column.kind == FieldKind::PixelFormat)
        return "a pixel format such as yuv420p";
    return NumberRangeText(column.minimum, column.maximum, column.unit, column.kind == FieldKind::Integer,
                           false);
}

std::string GetRangeText(Field const& field) {
    switch (field.kind) {
    case FieldKind::Flag:
        return "0 or 1";
    case FieldKind::Integer:
    case FieldKind::Real:
        return NumberRangeText(field.minimum, field.maximum, field.unit, field.kind == FieldKind::Integer,
                               field.single);
    case FieldKind::Word:
        return WordsText(field.words);
    case FieldKind::Mask:
        return WordsText(field.words) + ", with '+' between them, or 0";
    case FieldKind::Text:
        return "any text";
    case FieldKind::Color:
        return "#rrggbb, #rrggbbaa or the name of a color";
    case FieldKind::PixelFormat:
        return "a pixel format such as yuv420p, or none";
    case FieldKind::ChannelLayout:
        return "a channel layout such as stereo, or none";
    case FieldKind::List: {
        std::string const entry =
            Core::Utils::ToString(field.columns, "/", [](FieldColumn const& column) { return column.key; });
        return entry + ", with '|' between the entries";
    }
    case FieldKind::Matrix:
        return "nine integers with '/' between them, or an orientation of 1 to 8";
    }
    return {};
}

} // namespace Tarsel::Proc
