#include "Conf/ChannelLayout.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Settings/FieldRead.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tarsel::Proc::Details {

namespace {

/// NaN and the infinities lie in no range: its ends are finite.
bool IsInRange(double value, double minimum, double maximum) {
    return value >= minimum && value <= maximum;
}

bool IsInRange(Field const& field, double value) {
    if (!field.single)
        return IsInRange(value, field.minimum, field.maximum);
    return IsInRange(value, static_cast<float>(field.minimum), static_cast<float>(field.maximum));
}

/// `value` as the member will hold it.
double Narrow(Field const& field, double value) {
    constexpr double huge = std::numeric_limits<float>::max();
    return field.single && std::abs(value) <= huge ? static_cast<double>(static_cast<float>(value)) : value;
}

bool IsWholeInt32(double value) {
    return IsInRange(value, std::numeric_limits<std::int32_t>::min(),
                     std::numeric_limits<std::int32_t>::max()) &&
           std::trunc(value) == value;
}

bool IsSupportedFormat(double number) {
    return IsWholeInt32(number) && Conf::PixFmtDescription::IsSupported(static_cast<Conf::PixFmt>(number));
}

/// What is wrong with one value of a column, or "".
std::string_view CheckColumn(FieldColumn const& column, double value) {
    if (column.kind == FieldKind::PixelFormat)
        return IsSupportedFormat(value) ? "" : "not a pixel format";
    if (column.kind == FieldKind::Integer && std::isfinite(value) && std::trunc(value) != value)
        return "not an integer";
    return IsInRange(value, column.minimum, column.maximum) ? "" : "out of range";
}

std::optional<Refusal> CheckList(Field const& field, std::vector<double> const& values) {
    if (values.size() % field.columns.size() != 0)
        return RefuseKind(field, fmt::format("{} values", values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        FieldColumn const& column = field.columns[i % field.columns.size()];
        if (std::string_view const what = CheckColumn(column, values[i]); !what.empty())
            return RefuseColumn(field, i, ToText(column, values[i]), what);
    }
    return {};
}

bool IsKnownMask(Field const& field, std::int64_t value) {
    for (FieldWord const& word : field.words)
        value &= ~word.value;
    return value == 0;
}

} // namespace

std::optional<Refusal> CheckValue(Field const& field, FieldValue const& value, std::string_view text) {
    auto const accept = [&](bool legal, std::string_view what) -> std::optional<Refusal> {
        if (legal)
            return {};
        return Refusal{std::string(field.key), std::string(text), std::string(what), GetRangeText(field)};
    };
    switch (field.kind) {
    case FieldKind::Integer:
        return accept(IsInRange(field, static_cast<double>(std::get<std::int64_t>(value))), "out of range");
    case FieldKind::Real:
        return accept(IsInRange(field, Narrow(field, std::get<double>(value))), "out of range");
    case FieldKind::Word:
        return accept(std::ranges::find(field.words, std::get<std::int64_t>(value), &FieldWord::value) !=
                          field.words.end(),
                      "unknown");
    case FieldKind::Mask:
        return accept(IsKnownMask(field, std::get<std::int64_t>(value)), "unknown");
    case FieldKind::PixelFormat: {
        std::int64_t const number = std::get<std::int64_t>(value);
        return accept(number == static_cast<std::int64_t>(Conf::PixFmt::None) ||
                          IsSupportedFormat(static_cast<double>(number)),
                      "not a pixel format");
    }
    case FieldKind::ChannelLayout: {
        std::string const& name = std::get<std::string>(value);
        return accept(name.empty() || Conf::ChannelLayout::FromName(name).has_value(),
                      "not a channel layout");
    }
    case FieldKind::List:
        return CheckList(field, std::get<std::vector<double>>(value));
    case FieldKind::Matrix: {
        std::vector<double> const& words = std::get<std::vector<double>>(value);
        return accept(words.size() == 9 && std::ranges::all_of(words, IsWholeInt32), "not a display matrix");
    }
    case FieldKind::Flag:
    case FieldKind::Text:
    case FieldKind::Color:
        break;
    }
    return {};
}

} // namespace Tarsel::Proc::Details
