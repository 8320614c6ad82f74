#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Tarsel::Core {

/// In microseconds; and the longest time that texts may state, in seconds.
constexpr double s_second = 1e6;
constexpr double s_longestTime = 1e6 * 3600;

/// Microseconds of "2.5", "1:02.5" or "1:00:02.5": seconds, with minutes and hours before them, none of them
/// negative; nothing for any other text. Any thread.
TARSEL_API std::optional<std::int64_t> TextToMicroseconds(std::string_view text) noexcept;
/// "2.5 s". Any thread.
TARSEL_API std::string SecondsText(std::int64_t microseconds);

} // namespace Tarsel::Core
