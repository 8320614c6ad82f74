#pragma once

#include <cmath>
#include <limits>

namespace Tarsel::Proc {

/// Whether a gain counts as none: equal to 0 by the host's relative comparison of floats, which takes
/// everything below the smallest normal number for 0, and infinities too.
inline bool IsZero(float value) noexcept {
    using Limits = std::numeric_limits<float>;
    return std::abs(value) < Limits::min() || std::abs(value) <= Limits::epsilon() * std::abs(value + 0.0F);
}

} // namespace Tarsel::Proc
