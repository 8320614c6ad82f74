#include "Proc/Settings/SettingsProperty.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace {

using Core::PropertyTypes;

Core::Property MakeChild(Settings const& settings, Field const& field) {
    std::string const key(field.key);
    FieldValue const value = field.get(settings);
    switch (field.kind) {
    case FieldKind::Flag:
        return {key, std::get<bool>(value)};
    case FieldKind::Integer:
        return {key, std::get<std::int64_t>(value)};
    case FieldKind::Real:
        return {key, std::get<double>(value)};
    case FieldKind::Word:
    case FieldKind::Mask:
    case FieldKind::Text:
    case FieldKind::Color:
    case FieldKind::PixelFormat:
    case FieldKind::ChannelLayout:
    case FieldKind::List:
    case FieldKind::Matrix:
        break;
    }
    return {key, ToText(field, value)};
}

/// Through its text, so that a host that keeps everything as strings or whole numbers is read too.
void WriteFieldFromProperty(Settings& settings, Field const& field, Core::Property const& child) {
    PropertyTypes const type = child.GetType();
    if (type == PropertyTypes::Empty || type == PropertyTypes::Container)
        Core::Throw<SettingsException>(fmt::format("{}: {} is of type {}, which is not a value: {}",
                                                   settings.GetClassId(), field.key, GetName(type),
                                                   GetRangeText(field)));
    WriteFieldText(settings, field, Core::PropertyValueToString(child));
}

} // namespace

Core::Property Settings2Property(Settings const& settings) {
    Core::Property property(settings.GetClassId());
    for (Field const& field : settings.GetFields())
        property.AddChild(MakeChild(settings, field));
    return property;
}

void WriteFieldsFromProperty(Settings& settings, Core::Property const& property) {
    for (Field const& field : settings.GetFields()) {
        Core::Property const* child = property.FindChild(field.key);
        if (child == nullptr && !field.alias.empty())
            child = property.FindChild(field.alias);
        if (child != nullptr)
            WriteFieldFromProperty(settings, field, *child);
    }
    CheckSettings(settings);
}

} // namespace Tarsel::Proc
