#pragma once

#include "Conf/PixColor.h"

#include <array>
#include <cstdint>

namespace Tarsel::Conf {

/// Color matrices and primaries by their numbers (AVColorSpace, AVColorPrimaries). Any thread.

/// The primaries of the standard that a matrix is of, unspecified for none; and the other way round, the
/// matrix of HD for none.
std::int32_t PrimariesOf(std::int32_t matrix) noexcept;
std::int32_t MatrixOf(std::int32_t primaries) noexcept;

/// Whether both have the same weights: those of BT.601 have several names, and a matrix that the scaler does
/// not know counts as one of them.
bool IsSameMatrix(std::int32_t a, std::int32_t b) noexcept;

/// Y, U and V of 8 bits by that matrix, BT.601 for one that the scaler does not know. Source: ITU-T H.273,
/// 8.3, the equations for MatrixCoefficients 1 and for the two ranges.
std::array<std::uint8_t, 3> YuvOfColor(PixColor color, std::int32_t matrix, bool fullRange) noexcept;

} // namespace Tarsel::Conf
