#pragma once

#include "Conf/PixColor.h"

#include <array>
#include <cstdint>

namespace Tarsel::Conf {

/// Y, U and V of 8 bits by the color matrix of that number (AVColorSpace), BT.601 for one that the scaler
/// does not know. Source: ITU-T H.273, 8.3, the equations for MatrixCoefficients 1 and for the two ranges.
std::array<std::uint8_t, 3> YuvOfColor(PixColor color, std::int32_t matrix, bool fullRange) noexcept;

} // namespace Tarsel::Conf
