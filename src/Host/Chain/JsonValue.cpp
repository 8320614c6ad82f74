#include "Host/Chain/JsonValue.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace Tarsel::Host {
namespace {

using Nlohmann = nlohmann::json;

/// Characters, counting the lines that were read.
struct LineCounter {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    char const* at = nullptr;
    int* line = nullptr;

    reference operator*() const { return *at; }
    LineCounter& operator++() {
        *line += *at == '\n' ? 1 : 0;
        ++at;
        return *this;
    }
    LineCounter operator++(int) {
        LineCounter const before = *this;
        ++*this;
        return before;
    }
    bool operator==(LineCounter const& other) const { return at == other.at; }
};

class JsonBuilder final : public nlohmann::json_sax<Nlohmann> {
public:
    JsonBuilder(JsonValue& root, int const& line) : m_root(root), m_line(line) {}

    bool null() override { return Put(nullptr); }
    bool boolean(bool value) override { return Put(value); }
    bool number_integer(number_integer_t value) override { return Put(value); }
    bool number_unsigned(number_unsigned_t value) override {
        if (!std::in_range<std::int64_t>(value))
            ThrowAtLine(m_line, fmt::format("{} is too large for a whole number", value));
        return Put(static_cast<std::int64_t>(value));
    }
    bool number_float(number_float_t value, string_t const&) override { return Put(value); }
    bool string(string_t& value) override { return Put(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(JsonValue::Object()); }
    bool start_array(std::size_t) override { return Open(JsonValue::Array()); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }
    bool key(string_t& value) override {
        if (m_open.back()->Find(value) != nullptr)
            ThrowAtLine(m_line, fmt::format("\"{}\" is given twice", value));
        m_key = std::move(value);
        m_keyLine = m_line;
        return true;
    }
    bool parse_error(std::size_t, std::string const&, Nlohmann::exception const& error) override {
        std::string text = error.what();
        text.erase(0, std::min(text.find(": syntax error "), text.size()));
        ThrowAtLine(m_line, "This is not valid JSON" + text);
    }

private:
    template <class T>
    JsonValue& Add(T data) {
        if (m_open.empty())
            return m_root = JsonValue{std::move(data), m_line};
        if (m_open.back()->As<JsonValue::Array>() != nullptr)
            return m_open.back()->Add(JsonValue{std::move(data), m_line});
        return m_open.back()->Add(std::move(m_key), JsonValue{std::move(data), m_keyLine});
    }
    template <class T>
    bool Put(T value) {
        Add(std::move(value));
        return true;
    }
    template <class T>
    bool Open(T value) {
        constexpr std::size_t mostDepth = 16;
        if (m_open.size() == mostDepth)
            ThrowAtLine(m_line, fmt::format("Nest no deeper than {} levels", mostDepth));
        m_open.push_back(&Add(std::move(value)));
        return true;
    }
    bool Close() {
        m_open.pop_back();
        return true;
    }

    JsonValue& m_root;
    int const& m_line;
    /// From the root to the present one.
    std::vector<JsonValue*> m_open;
    std::string m_key;
    int m_keyLine = 1;
};

bool HoldsAnObject(JsonValue const& value) {
    auto const* const array = value.As<JsonValue::Array>();
    return value.As<JsonValue::Object>() != nullptr ||
           (array != nullptr && std::ranges::any_of(*array, HoldsAnObject));
}

void WriteInto(std::string& text, JsonValue const& value, std::size_t depth);

/// `write` writes the item of an index.
template <class Write>
void WriteItems(std::string& text, std::size_t count, char const* ends, bool isOneLine, std::size_t depth,
                Write const& write) {
    std::string const line = isOneLine ? "" : '\n' + std::string(2 * depth, ' ');
    text += ends[0];
    for (std::size_t i = 0; i < count; ++i) {
        text += i == 0 ? "" : isOneLine ? ", " : ",";
        text += line.empty() ? "" : line + "  ";
        write(i);
    }
    text += count == 0 ? "" : line;
    text += ends[1];
}

/// One that holds no other.
std::string ToText(JsonValue const& value) {
    return std::visit(
        [](auto const& data) -> std::string {
            if constexpr (std::is_constructible_v<Nlohmann, decltype(data)>)
                return Nlohmann(data).dump(-1, ' ', false, Nlohmann::error_handler_t::replace);
            else
                return {};
        },
        value.data);
}

void WriteInto(std::string& text, JsonValue const& value, std::size_t depth) {
    if (auto const* const array = value.As<JsonValue::Array>())
        WriteItems(text, array->size(), "[]", !HoldsAnObject(value), depth,
                   [&](std::size_t i) { WriteInto(text, (*array)[i], depth + 1); });
    else if (auto const* const object = value.As<JsonValue::Object>())
        WriteItems(text, object->size(), "{}", false, depth, [&](std::size_t i) {
            text += ToText({(*object)[i].key}) + ": ";
            WriteInto(text, (*object)[i].value, depth + 1);
        });
    else
        text += ToText(value);
}

} // namespace

double JsonValue::ToDouble() const noexcept {
    if (auto const* const whole = As<std::int64_t>())
        return static_cast<double>(*whole);
    auto const* const number = As<double>();
    return number != nullptr ? *number : 0;
}

JsonValue const* JsonValue::Find(std::string_view key) const noexcept {
    auto const* const object = As<Object>();
    if (object == nullptr)
        return nullptr;
    auto const found = std::ranges::find(*object, key, &JsonMember::key);
    return found != object->end() ? &found->value : nullptr;
}

JsonValue& JsonValue::Add(std::string key, JsonValue value) {
    return std::get<Object>(data).emplace_back(JsonMember{std::move(key), std::move(value)}).value;
}

JsonValue& JsonValue::Add(JsonValue value) {
    return std::get<Array>(data).emplace_back(std::move(value));
}

JsonValue ParseJson(std::string_view text) {
    int line = 1;
    JsonValue root;
    JsonBuilder builder(root, line);
    Nlohmann::sax_parse(LineCounter{text.data(), &line}, LineCounter{text.data() + text.size(), &line},
                        &builder);
    return root;
}

std::string WriteJson(JsonValue const& value) {
    std::string text;
    WriteInto(text, value, 0);
    return text + '\n';
}

void ThrowAtLine(int line, std::string const& text) {
    Core::Throw<Proc::SettingsException>(fmt::format("line {}: {}", line, text));
}

} // namespace Tarsel::Host
