#include "Core/TimeText.h"

#include "Core/Text.h"

#include <algorithm>
#include <cmath>

namespace Tarsel::Core {

namespace {

bool IsTimeChar(char c) noexcept {
    return (c >= '0' && c <= '9') || c == '.';
}

} // namespace

std::optional<std::int64_t> TextToMicroseconds(std::string_view text) noexcept {
    double seconds = 0;
    for (int parts = 1;; ++parts) {
        std::size_t const end = std::min(text.find(':'), text.size());
        std::string_view const part = text.substr(0, end);
        bool const isLast = end == text.size();
        std::optional<double> const value = TextToDouble(part);
        bool const isWhole = part.find('.') == part.npos;
        if (!value || !std::ranges::all_of(part, &IsTimeChar) || !(isLast || isWhole) ||
            (parts > 1 && *value >= 60) || parts > 3)
            return std::nullopt;
        seconds = seconds * 60 + *value;
        if (isLast)
            break;
        text.remove_prefix(end + 1);
    }
    if (seconds > s_longestTime)
        return std::nullopt;
    return std::llround(seconds * s_second);
}

std::string SecondsText(std::int64_t microseconds) {
    return NumberToText(static_cast<double>(microseconds) / s_second) + " s";
}

} // namespace Tarsel::Core
