#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Tarsel::Core {

/// Numbers as text and back, the same in every locale. Any thread.

/// The shortest decimal form that reads back as the same number ("0.1", "1e+30", "nan").
TARSEL_API std::string NumberToText(double value);
TARSEL_API std::string NumberToText(float value);
TARSEL_API std::string NumberToText(std::int64_t value);

/// The whole of `text` as a number, a leading '+' allowed, blanks not; nothing when it is none or out of the
/// type.
TARSEL_API std::optional<double> TextToDouble(std::string_view text) noexcept;
TARSEL_API std::optional<std::int64_t> TextToInt64(std::string_view text) noexcept;
/// "1", "true", "yes", "on" and their opposites, any case.
TARSEL_API std::optional<bool> TextToBool(std::string_view text) noexcept;

namespace Utils {

/// The items of `list`, each through `transform` (anything that `std::string::operator+=` takes), with
/// `separator` between them; an empty list gives "".
template <class List, class Transform>
std::string ToString(List const& list, std::string_view separator, Transform const& transform) {
    std::string text;
    bool first = true;
    for (auto const& item : list) {
        if (!first)
            text += separator;
        first = false;
        text += transform(item);
    }
    return text;
}

} // namespace Utils
} // namespace Tarsel::Core
