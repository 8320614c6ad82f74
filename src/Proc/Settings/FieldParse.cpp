#include "Conf/ChannelLayout.h"
#include "Conf/DisplayMatrix.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Text.h"
#include "Proc/Settings/FieldRead.h"

extern "C" {
#include <libavutil/parseutils.h>
}

#include <algorithm>
#include <charconv>

namespace Tarsel::Proc::Details {

namespace {

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t begin = 0;;) {
        std::size_t const end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos)
            return parts;
        begin = end + 1;
    }
}

std::optional<std::int64_t> ParseWord(std::span<FieldWord const> words, std::string_view text) {
    auto const word = std::ranges::find(words, text, &FieldWord::text);
    return word == words.end() ? Core::TextToInt64(text) : word->value;
}

std::optional<std::int64_t> ParseMask(std::span<FieldWord const> words, std::string_view text) {
    std::int64_t mask = 0;
    for (std::string_view const part : Split(text, '+')) {
        std::optional<std::int64_t> const bits = ParseWord(words, part);
        if (!bits)
            return {};
        mask |= *bits;
    }
    return mask;
}

std::optional<Conf::PixColor> ParseHexColor(std::string_view digits) {
    std::uint32_t rgba = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), rgba, 16);
    if (error != std::errc() || end != digits.data() + digits.size())
        return {};
    if (digits.size() == 6)
        rgba = rgba << 8 | 0xFF;
    else if (digits.size() != 8)
        return {};
    auto const byte = [&](int shift) { return static_cast<std::uint8_t>(rgba >> shift & 0xFF); };
    return Conf::PixColor{byte(24), byte(16), byte(8), byte(0)};
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

/// FFmpeg's names are asked for one by one: av_parse_color would write to the log about an unknown one.
std::optional<Conf::PixColor> ParseColor(std::string_view text) {
    if (text.starts_with('#'))
        return ParseHexColor(text.substr(1));
    std::uint8_t const* rgb = nullptr;
    for (int i = 0; char const* name = av_get_known_color_name(i, &rgb); ++i) {
        if (EqualIgnoringCase(name, text))
            return Conf::PixColor{rgb[0], rgb[1], rgb[2], 255};
    }
    return {};
}

std::optional<std::int64_t> ParsePixelFormat(std::string_view text) {
    std::optional<Conf::PixFmt> const format = Conf::PixFmtDescription::FindByName(text);
    return format ? std::optional(static_cast<std::int64_t>(*format)) : std::nullopt;
}

std::optional<double> ParseColumn(FieldColumn const& column, std::string_view text) {
    if (column.kind == FieldKind::Real)
        return Core::TextToDouble(text);
    std::optional<std::int64_t> const number =
        column.kind == FieldKind::Integer ? Core::TextToInt64(text) : ParsePixelFormat(text);
    return number ? std::optional(static_cast<double>(*number)) : std::nullopt;
}

std::variant<FieldValue, Refusal> ParseList(Field const& field, std::string_view text) {
    std::vector<double> values;
    if (text.empty())
        return values;
    for (std::string_view const entry : Split(text, '|')) {
        std::vector<std::string_view> const parts = Split(entry, '/');
        if (parts.size() != field.columns.size())
            return RefuseKind(field, text);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            std::optional<double> const value = ParseColumn(field.columns[i], parts[i]);
            if (!value)
                return RefuseColumn(field, values.size(), parts[i], GetNoneOf(field.columns[i].kind));
            values.push_back(*value);
        }
    }
    return values;
}

/// Nine words, or one orientation.
std::optional<std::vector<double>> ParseMatrix(std::string_view text) {
    std::vector<double> words;
    for (std::string_view const part : Split(text, '/')) {
        std::optional<std::int64_t> const word = Core::TextToInt64(part);
        if (!word)
            return {};
        words.push_back(static_cast<double>(*word));
    }
    if (words.size() != 1)
        return words;
    if (words[0] < 1 || words[0] > 8)
        return {};
    auto const matrix = Conf::DisplayMatrix::FromOrientation(static_cast<int>(words[0]));
    return std::vector<double>(matrix->words.begin(), matrix->words.end());
}

std::optional<std::string> ParseChannelLayout(std::string_view text) {
    if (text == "none")
        return std::string();
    auto const layout = Conf::ChannelLayout::FromName(std::string(text));
    return layout ? std::optional(layout->GetName()) : std::nullopt;
}

} // namespace

std::variant<FieldValue, Refusal> ParseValue(Field const& field, std::string_view text) {
    auto const orRefuse = [&](auto const& parsed) -> std::variant<FieldValue, Refusal> {
        if (parsed)
            return FieldValue(*parsed);
        return RefuseKind(field, text);
    };
    switch (field.kind) {
    case FieldKind::Flag:
        return orRefuse(Core::TextToBool(text));
    case FieldKind::Integer:
        return orRefuse(Core::TextToInt64(text));
    case FieldKind::Real:
        return orRefuse(Core::TextToDouble(text));
    case FieldKind::Word:
        return orRefuse(ParseWord(field.words, text));
    case FieldKind::Mask:
        return orRefuse(ParseMask(field.words, text));
    case FieldKind::Color:
        return orRefuse(ParseColor(text));
    case FieldKind::PixelFormat:
        return text == "none" ? FieldValue(static_cast<std::int64_t>(Conf::PixFmt::None))
                              : orRefuse(ParsePixelFormat(text));
    case FieldKind::ChannelLayout:
        return orRefuse(ParseChannelLayout(text));
    case FieldKind::List:
        return ParseList(field, text);
    case FieldKind::Matrix:
        return orRefuse(ParseMatrix(text));
    case FieldKind::Text:
        break;
    }
    return FieldValue(std::string(text));
}

} // namespace Tarsel::Proc::Details
