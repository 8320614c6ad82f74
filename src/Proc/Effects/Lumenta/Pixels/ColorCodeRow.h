#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// The color codes of a row of pixels (4 bytes each: red, green, blue, one that is not read). Any thread.
void MakeColorCodes(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) noexcept;

} // namespace Tarsel::Proc
