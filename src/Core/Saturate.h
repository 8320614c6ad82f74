#pragma once

#include <concepts>
#include <limits>

namespace Tarsel::Core {

/// A real number as an integer: truncated towards zero, held at the limits of To, 0 for NaN. Who wants it
/// rounded rounds it first. Any thread.
template <std::integral To, std::floating_point From>
constexpr To Saturate(From value) noexcept {
    using Limits = std::numeric_limits<To>;
    // The largest integer may be no real number of that type; the one above it, a power of two, is.
    constexpr auto half = static_cast<To>(Limits::max() / 2 + 1);
    constexpr From above = 2 * static_cast<From>(half);
    constexpr auto lowest = static_cast<From>(Limits::min());
    if (value >= above)
        return Limits::max();
    if (value > lowest)
        return static_cast<To>(value);
    return value <= lowest ? Limits::min() : To{0};
}

} // namespace Tarsel::Core
