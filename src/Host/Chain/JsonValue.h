#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Tarsel::Host {

struct JsonMember;

/// A value of a JSON text (RFC 8259). Unlike that of the library which reads the text it needs no memory to
/// be dropped, and keeps lines and the order of members.
struct JsonValue {
    using Array = std::vector<JsonValue>;
    using Object = std::vector<JsonMember>;

    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> data;
    /// On which it stands in the text, a member its key; from 1.
    int line = 1;

    /// What it is, or null for one of another kind.
    template <class T>
    T const* As() const noexcept {
        return std::get_if<T>(&data);
    }
    bool IsNumber() const noexcept { return As<std::int64_t>() != nullptr || As<double>() != nullptr; }
    /// Of a number; 0 for others.
    double ToDouble() const noexcept;
    /// The member of an object, or null.
    JsonValue const* Find(std::string_view key) const noexcept;

    /// Adds a member to an object, or an element to an array; the reference holds until the next is added.
    JsonValue& Add(std::string key, JsonValue value);
    JsonValue& Add(JsonValue value);
};

struct JsonMember {
    std::string key;
    JsonValue value;
};

/// SettingsException that names the line, for what is not valid, nests deeper than 16 levels, names a member
/// twice, or has a whole number beyond 64 bits. Any thread.
JsonValue ParseJson(std::string_view text);

/// Two blanks for each level, what holds no object on one line, and a line feed at the end. Bytes that are no
/// UTF-8 are replaced. Any thread.
std::string WriteJson(JsonValue const& value);

/// "line 7: " and the text, as a SettingsException.
[[noreturn]] void ThrowAtLine(int line, std::string const& text);

} // namespace Tarsel::Host
