#pragma once

#include "Conf/PixColor.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Lays a row of pixels (red, green, blue, straight alpha; a byte each) over the background, in place:
/// c' = ((255 - a) k + a c) / 255, rounded to the nearest. Alpha stays as it is. Any thread.
void FlattenRow(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) noexcept;

} // namespace Tarsel::Proc
