#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/FieldRead.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace Details {

std::string_view GetNoneOf(FieldKind kind) noexcept {
    switch (kind) {
    case FieldKind::Flag:
        return "not a flag";
    case FieldKind::Integer:
        return "not an integer";
    case FieldKind::Real:
        return "not a number";
    case FieldKind::Word:
    case FieldKind::Mask:
        return "unknown";
    case FieldKind::Text:
        return "not a text";
    case FieldKind::Color:
        return "not a color";
    case FieldKind::PixelFormat:
        return "not a pixel format";
    case FieldKind::ChannelLayout:
        return "not a channel layout";
    case FieldKind::List:
        return "not a list";
    case FieldKind::Matrix:
        return "not a display matrix";
    }
    return "unknown";
}

Refusal RefuseKind(Field const& field, std::string_view text) {
    return {std::string(field.key), std::string(text), std::string(GetNoneOf(field.kind)),
            GetRangeText(field)};
}

Refusal RefuseColumn(Field const& field, std::size_t index, std::string_view text, std::string_view what) {
    FieldColumn const& column = field.columns[index % field.columns.size()];
    return {fmt::format("{}, entry {}: {}", field.key, index / field.columns.size() + 1, column.key),
            std::string(text), std::string(what), GetRangeText(column)};
}

} // namespace Details

namespace {

using Details::Refusal;

[[noreturn]] void ThrowRefusal(Settings const& settings, Refusal const& refusal) {
    Core::Throw<SettingsException>(fmt::format("{}: {}={} is {}: {}", settings.GetClassId(), refusal.subject,
                                               refusal.value, refusal.what, refusal.range));
}

void WriteChecked(Settings& settings, Field const& field, FieldValue const& value, std::string_view text) {
    if (std::optional<Refusal> const refusal = Details::CheckValue(field, value, text))
        ThrowRefusal(settings, *refusal);
    field.set(settings, value);
}

} // namespace

void WriteField(Settings& settings, Field const& field, FieldValue const& value) {
    if (value.index() != GetDefault(field).index())
        ThrowRefusal(settings, Details::RefuseKind(field, "a value of another kind"));
    WriteChecked(settings, field, value, ToText(field, value));
}

void WriteFieldText(Settings& settings, Field const& field, std::string_view text) {
    std::variant<FieldValue, Refusal> const parsed = Details::ParseValue(field, text);
    if (Refusal const* refusal = std::get_if<Refusal>(&parsed))
        ThrowRefusal(settings, *refusal);
    WriteChecked(settings, field, std::get<FieldValue>(parsed), text);
}

void CheckSettings(Settings const& settings) {
    SettingsTable const& table = settings.GetClassTable();
    if (table.findConflict == nullptr)
        return;
    if (std::string const conflict = table.findConflict(settings); !conflict.empty())
        Core::Throw<SettingsException>(fmt::format("{}: {}", table.classId, conflict));
}

} // namespace Tarsel::Proc
