#pragma once

#include "Core/Api.h"
#include "Core/PropertyTypes.h"
#include "Core/Ratio.h"

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <variant>

namespace Tarsel::Core {

/// A named, typed value; a container holds children by key, in the order in which they were made. A value
/// type: a copy is deep and independent. Not synchronized: one thread at a time, or const use only.
///
/// Every accessor that does not fit the node's type throws MethodIsNotApplicable with method name, type and
/// name.
class TARSEL_API Property {
public:
    using Children = std::list<Property>;

    /// An empty container.
    explicit Property(std::string name = {});
    Property(std::string name, std::string value);
    Property(std::string name, char const* value);
    Property(std::string name, std::int64_t value);
    Property(std::string name, double value);
    Property(std::string name, bool value);
    Property(std::string name, Ratio value);

    std::string const& GetName() const noexcept { return m_name; }
    PropertyTypes GetType() const noexcept;

    std::string const& GetString() const;
    std::int64_t GetInt64() const;
    /// Also widens an int64.
    double GetDouble() const;
    bool GetBool() const;
    Ratio GetRatio() const;

    /// Replaces value and type, keeps the name; a container loses its children.
    Property& operator=(std::string value);
    Property& operator=(char const* value);
    Property& operator=(std::int64_t value);
    Property& operator=(double value);
    Property& operator=(bool value);
    Property& operator=(Ratio value);

    /// The child, or null; null too on anything but a container. The pointer lives until the child is
    /// removed.
    Property* FindChild(std::string_view key) noexcept;
    Property const* FindChild(std::string_view key) const noexcept;
    bool ChildExists(std::string_view key) const noexcept { return FindChild(key) != nullptr; }
    /// The child; throws PropertyException naming the key when there is none.
    Property const& operator[](std::string_view key) const;
    Children const& GetChildren() const;
    /// Adds a copy of `child` under its own name; a container only. Returns the copy, owned by this node.
    Property& AddChild(Property child);
    /// Takes the child away; returns whether there was one.
    bool RemoveChild(std::string_view key) noexcept;

    /// Sets the child's value, making the child where it is missing. Returns the child, owned by this node.
    /// On anything but a container: MethodIsNotApplicable with method name "SetChildT".
    template <class T>
    Property& SetChildT(std::string const& key, T const& value) {
        if (GetType() != PropertyTypes::Container)
            ThrowNotApplicable("SetChildT");
        if (Property* child = FindChild(key))
            return *child = value;
        return CreateChildT(key, value);
    }

    /// Adds a child, whether or not the key is taken; look-ups find the first. Returns the child, owned by
    /// this node. On anything but a container: MethodIsNotApplicable with method name "CreateChildT".
    template <class T>
    Property& CreateChildT(std::string const& key, T const& value) {
        if (GetType() != PropertyTypes::Container)
            ThrowNotApplicable("CreateChildT");
        return AddChild(Property(key, value));
    }

    friend TARSEL_API bool operator==(Property const& a, Property const& b);

private:
    [[noreturn]] void ThrowNotApplicable(char const* method) const;

    std::string m_name;
    std::variant<std::monostate, std::int64_t, double, bool, std::string, Ratio, Children> m_value;
};

/// The value as text, the same in every locale: integers in decimal, reals in the shortest form that reads
/// back the same, flags as 1 and 0, ratios as "30000/1001", strings as they are. A container throws
/// MethodIsNotApplicable; an empty node gives "".
TARSEL_API std::string PropertyValueToString(Property const& property);

} // namespace Tarsel::Core
