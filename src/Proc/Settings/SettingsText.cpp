#include "Proc/Settings/SettingsText.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <map>

namespace Tarsel::Proc {

namespace {

std::string Escape(std::string_view value) {
    std::string text;
    for (char const c : value) {
        if (c == ':' || c == '\\')
            text += '\\';
        text += c;
    }
    return text;
}

/// The items between the ':' of `text`, each without its '\'.
std::vector<std::string> SplitItems(std::string_view text) {
    std::vector<std::string> items(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool const escaped =
            text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == ':' || text[i + 1] == '\\');
        if (escaped)
            items.back() += text[++i];
        else if (text[i] == ':')
            items.emplace_back();
        else
            items.back() += text[i];
    }
    return items;
}

[[noreturn]] void Refuse(Settings const& settings, std::string const& why) {
    Core::Throw<SettingsException>(settings.GetClassId() + ": " + why);
}

std::string KnownKeys(std::span<Field const> fields) {
    return Core::Utils::ToString(fields, ", ", [](Field const& field) { return field.key; });
}

} // namespace

std::string Serialize(Settings const& settings) {
    return Core::Utils::ToString(settings.GetFields(), ":", [&](Field const& field) {
        return std::string(field.key) + '=' + Escape(ReadFieldText(settings, field));
    });
}

void DeserializeFields(Settings& settings, std::string_view text) {
    if (text.empty())
        return;
    std::span<Field const> const fields = settings.GetFields();
    std::map<Field const*, std::string> values;
    for (std::string const& item : SplitItems(text)) {
        std::size_t const equals = item.find('=');
        bool const isBare = equals == std::string::npos;
        std::string const key = item.substr(0, equals);
        Field const* const field = FindField(fields, key);
        if (field == nullptr)
            Refuse(settings, fmt::format("unknown key \"{}\"; the keys are {}", key, KnownKeys(fields)));
        if (isBare && field->kind != FieldKind::Flag)
            Refuse(settings, fmt::format("{} needs a value: {}", key, GetRangeText(*field)));
        if (!values.emplace(field, isBare ? "1" : item.substr(equals + 1)).second)
            Refuse(settings, fmt::format("{} is given twice", key));
    }
    // A map of pointers into one table is in the table's order.
    for (auto const& [field, value] : values)
        WriteFieldText(settings, *field, value);
    CheckSettings(settings);
}

} // namespace Tarsel::Proc
