#pragma once

#include "Conf/PixColor.h"
#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

// Rows of pixels of 4 bytes: red, green, blue, straight alpha. They may lie anywhere. Any thread.

/// Lays the pixels over the background, in place: c' = ((255 - a) k + a c) / 255, rounded to the nearest.
/// Alpha stays as it is; that of the background is not read.
void FlattenRow(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) noexcept;

/// Writes the color code of each pixel; alpha is not read.
void MakeColorCodes(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) noexcept;

} // namespace Tarsel::Proc
