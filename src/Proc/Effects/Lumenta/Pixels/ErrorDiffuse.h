#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>
#include <span>

namespace Tarsel::Proc {

/// Writes for every pixel (4 bytes: red, green, blue, one that is not read) the place in the palette, from 1
/// on, of the color nearest to it after what the pixels before it were off by: of a pixel's error the right
/// neighbor gets 8/16, the one below 5/16, below right 2/16, below left 1/16; what would leave the picture
/// is lost. The palette has 1 to 255 colors. std::bad_alloc.
void error_diffuse(PlaneView pixels, MutablePlane indices, std::size_t width, std::size_t height,
                   std::span<Rgb const> palette);

} // namespace Tarsel::Proc
