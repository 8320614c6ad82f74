#pragma once

#include <cmath>
#include <limits>

namespace Tarsel::Proc {

/// Whether a gain counts as none: equal to 0 by the host's relative comparison of floats, which takes
/// everything below the smallest normal number for 0.
inline bool IsZero(float value) noexcept {
    return std::abs(value) < std::numeric_limits<float>::min();
}

} // namespace Tarsel::Proc
