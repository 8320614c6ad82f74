#include "Proc/Settings/SettingsProperty.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace {

using Core::PropertyTypes;

PropertyTypes TypeOf(FieldKind kind) {
    switch (kind) {
    case FieldKind::Flag:
        return PropertyTypes::Bool;
    case FieldKind::Integer:
        return PropertyTypes::Int64;
    case FieldKind::Real:
        return PropertyTypes::Double;
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
    return PropertyTypes::String;
}

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

[[noreturn]] void ThrowWrongType(Settings const& settings, Field const& field, PropertyTypes type) {
    Core::Throw<SettingsException>(
        {"Proc/Settings/SettingsProperty",
         "void Tarsel::Proc::WriteFieldsFromProperty(Settings &, const Core::Property &)"},
        fmt::format("{}: {} is of type {}, not {}: {}", settings.GetClassId(), field.key, GetName(type),
                    GetName(TypeOf(field.kind)), GetRangeText(field)));
}

void WriteFieldFromProperty(Settings& settings, Field const& field, Core::Property const& child) {
    PropertyTypes const wanted = TypeOf(field.kind);
    PropertyTypes const type = child.GetType();
    bool const isNumbered = field.kind == FieldKind::Word || field.kind == FieldKind::Mask;
    if (type == PropertyTypes::Int64 && (wanted == PropertyTypes::Int64 || isNumbered))
        WriteField(settings, field, child.GetInt64());
    else if (wanted == PropertyTypes::Double && (type == wanted || type == PropertyTypes::Int64))
        WriteField(settings, field, child.GetDouble());
    else if (type != wanted)
        ThrowWrongType(settings, field, type);
    else if (type == PropertyTypes::Bool)
        WriteField(settings, field, child.GetBool());
    else
        WriteFieldText(settings, field, child.GetString());
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
        if (Core::Property const* child = property.FindChild(field.key))
            WriteFieldFromProperty(settings, field, *child);
    }
}

} // namespace Tarsel::Proc
