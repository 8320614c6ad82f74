#include "Core/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace Tarsel::Core {

namespace {

template <class Number>
std::string ToText(Number value) {
    std::array<char, 64> buffer; // the longest shortest form of a double has 24 characters
    auto const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return {buffer.data(), end};
}

template <class Number>
std::optional<Number> FromText(std::string_view text) noexcept {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return std::nullopt;
    }
    Number value{};
    char const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

constexpr char ToLower(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool EqualsLower(std::string_view text, std::string_view lower) noexcept {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return ToLower(a) == b; });
}

} // namespace

std::string NumberToText(double value) {
    return ToText(value);
}

std::string NumberToText(float value) {
    return ToText(value);
}

std::string NumberToText(std::int64_t value) {
    return ToText(value);
}

std::optional<double> TextToDouble(std::string_view text) noexcept {
    return FromText<double>(text);
}

std::optional<std::int64_t> TextToInt64(std::string_view text) noexcept {
    return FromText<std::int64_t>(text);
}

std::optional<bool> TextToBool(std::string_view text) noexcept {
    for (std::string_view word : {"1", "true", "yes", "on"})
        if (EqualsLower(text, word))
            return true;
    for (std::string_view word : {"0", "false", "no", "off"})
        if (EqualsLower(text, word))
            return false;
    return std::nullopt;
}

} // namespace Tarsel::Core
