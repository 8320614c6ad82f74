#include "Core/Property.h"

#include "Core/CoreExceptions.h"
#include "Core/Text.h"
#include "Core/Throw.h"

#include <fmt/format.h>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace Tarsel::Core {

namespace {

[[noreturn]] void ThrowNotApplicableTo(Property const& property, char const* method, char const* signature) {
    Throw<MethodIsNotApplicable>({"Core/Property", signature},
                                 fmt::format("{} is not applicable to property \"{}\" of type {}", method,
                                             property.GetName(), GetName(property.GetType())),
                                 PropertyException::TagMethodName(method),
                                 PropertyException::TagPropertyType(property.GetType()),
                                 PropertyException::TagPropertyName(property.GetName()));
}

} // namespace

Property::Property(std::string name) : m_name(std::move(name)), m_value(Children()) {}

Property::Property(std::string name, std::string value)
    : m_name(std::move(name)), m_value(std::move(value)) {}

Property::Property(std::string name, char const* value) : Property(std::move(name), std::string(value)) {}

Property::Property(std::string name, std::int64_t value) : m_name(std::move(name)), m_value(value) {}

Property::Property(std::string name, double value) : m_name(std::move(name)), m_value(value) {}

Property::Property(std::string name, bool value) : m_name(std::move(name)), m_value(value) {}

Property::Property(std::string name, Ratio value) : m_name(std::move(name)), m_value(value) {}

PropertyTypes Property::GetType() const noexcept {
    using Value = decltype(m_value);
    static_assert(
        std::is_same_v<std::variant_alternative_t<std::size_t(PropertyTypes::String), Value>, std::string> &&
            std::is_same_v<std::variant_alternative_t<std::size_t(PropertyTypes::Container), Value>,
                           Children>,
        "the alternatives stand in the order of PropertyTypes");
    return static_cast<PropertyTypes>(m_value.index());
}

std::string const& Property::GetString() const {
    if (auto const* value = std::get_if<std::string>(&m_value))
        return *value;
    ThrowNotApplicable("GetString");
}

std::int64_t Property::GetInt64() const {
    if (auto const* value = std::get_if<std::int64_t>(&m_value))
        return *value;
    ThrowNotApplicable("GetInt64");
}

double Property::GetDouble() const {
    if (auto const* value = std::get_if<double>(&m_value))
        return *value;
    if (auto const* value = std::get_if<std::int64_t>(&m_value))
        return static_cast<double>(*value);
    ThrowNotApplicable("GetDouble");
}

bool Property::GetBool() const {
    if (auto const* value = std::get_if<bool>(&m_value))
        return *value;
    ThrowNotApplicable("GetBool");
}

Ratio Property::GetRatio() const {
    if (auto const* value = std::get_if<Ratio>(&m_value))
        return *value;
    ThrowNotApplicable("GetRatio");
}

Property& Property::operator=(std::string value) {
    m_value = std::move(value);
    return *this;
}

Property& Property::operator=(char const* value) {
    return *this = std::string(value);
}

Property& Property::operator=(std::int64_t value) {
    m_value = value;
    return *this;
}

Property& Property::operator=(double value) {
    m_value = value;
    return *this;
}

Property& Property::operator=(bool value) {
    m_value = value;
    return *this;
}

Property& Property::operator=(Ratio value) {
    m_value = value;
    return *this;
}

Property* Property::FindChild(std::string_view key) noexcept {
    return const_cast<Property*>(std::as_const(*this).FindChild(key));
}

Property const* Property::FindChild(std::string_view key) const noexcept {
    auto const* children = std::get_if<Children>(&m_value);
    if (children == nullptr)
        return nullptr;
    auto const found = std::ranges::find(*children, key, &Property::GetName);
    return found != children->end() ? &*found : nullptr;
}

Property const& Property::operator[](std::string_view key) const {
    if (GetType() != PropertyTypes::Container)
        ThrowNotApplicable("operator[]");
    if (Property const* child = FindChild(key))
        return *child;
    Throw<PropertyException>(fmt::format("Property \"{}\" has no child \"{}\"", m_name, key),
                             PropertyException::TagMethodName("operator[]"),
                             PropertyException::TagPropertyType(GetType()),
                             PropertyException::TagPropertyName(m_name));
}

Property::Children const& Property::GetChildren() const {
    if (auto const* children = std::get_if<Children>(&m_value))
        return *children;
    ThrowNotApplicable("GetChildren");
}

Property& Property::AddChild(Property child) {
    if (auto* children = std::get_if<Children>(&m_value))
        return children->emplace_back(std::move(child));
    ThrowNotApplicable("AddChild");
}

bool Property::RemoveChild(std::string_view key) noexcept {
    auto* children = std::get_if<Children>(&m_value);
    if (children == nullptr)
        return false;
    auto const found = std::ranges::find(*children, key, &Property::GetName);
    if (found == children->end())
        return false;
    children->erase(found);
    return true;
}

void Property::ThrowNotApplicable(char const* method) const {
    ThrowNotApplicableTo(*this, method,
                         "void Tarsel::Core::Property::ThrowNotApplicable(const char *) const");
}

bool operator==(Property const& a, Property const& b) {
    return a.m_name == b.m_name && a.m_value == b.m_value;
}

std::string PropertyValueToString(Property const& property) {
    switch (property.GetType()) {
    case PropertyTypes::Empty:
        return {};
    case PropertyTypes::Int64:
        return NumberToText(property.GetInt64());
    case PropertyTypes::Double:
        return NumberToText(property.GetDouble());
    case PropertyTypes::Bool:
        return property.GetBool() ? "1" : "0";
    case PropertyTypes::String:
        return property.GetString();
    case PropertyTypes::Ratio: {
        Ratio const ratio = property.GetRatio();
        return fmt::format("{}/{}", ratio.numerator, ratio.denominator);
    }
    case PropertyTypes::Container:
        break;
    }
    ThrowNotApplicableTo(property, "PropertyValueToString",
                         "std::string Tarsel::Core::PropertyValueToString(const Property &)");
}

} // namespace Tarsel::Core
