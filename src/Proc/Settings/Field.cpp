#include "Proc/Settings/Field.h"

#include <algorithm>

namespace Tarsel::Proc {

std::string_view GetName(FieldKind kind) noexcept {
    switch (kind) {
    case FieldKind::Flag:
        return "flag";
    case FieldKind::Integer:
        return "integer";
    case FieldKind::Real:
        return "real";
    case FieldKind::Word:
        return "word";
    case FieldKind::Mask:
        return "mask";
    case FieldKind::Text:
        return "text";
    case FieldKind::Color:
        return "color";
    case FieldKind::PixelFormat:
        return "pixel-format";
    case FieldKind::ChannelLayout:
        return "channel-layout";
    case FieldKind::List:
        return "list";
    case FieldKind::Matrix:
        return "matrix";
    }
    return "unknown";
}

Field const* FindField(std::span<Field const> fields, std::string_view key) noexcept {
    auto found = std::ranges::find(fields, key, &Field::key);
    if (found == fields.end() && !key.empty())
        found = std::ranges::find(fields, key, &Field::alias);
    return found == fields.end() ? nullptr : &*found;
}

FieldValue GetDefault(Field const& field) {
    FieldDefault const& initial = field.initial;
    switch (field.kind) {
    case FieldKind::Flag:
        return initial.number != 0;
    case FieldKind::Integer:
    case FieldKind::Word:
    case FieldKind::Mask:
    case FieldKind::PixelFormat:
        return static_cast<std::int64_t>(initial.number);
    case FieldKind::Real:
        return field.single ? static_cast<double>(static_cast<float>(initial.number)) : initial.number;
    case FieldKind::Text:
    case FieldKind::ChannelLayout:
        return std::string(initial.text);
    case FieldKind::Color:
        return initial.color;
    case FieldKind::List:
    case FieldKind::Matrix:
        break;
    }
    return std::vector<double>(initial.items.begin(), initial.items.end());
}

std::string ReadFieldText(Settings const& settings, Field const& field) {
    return ToText(field, field.get(settings));
}

void SetFieldDefaults(Settings& settings, SettingsTable const& table) {
    for (Field const& field : table.fields)
        field.set(settings, GetDefault(field));
}

bool AreFieldsEqual(Settings const& a, Settings const& b, SettingsTable const& table) {
    return std::ranges::all_of(table.fields,
                               [&](Field const& field) { return field.get(a) == field.get(b); });
}

} // namespace Tarsel::Proc
