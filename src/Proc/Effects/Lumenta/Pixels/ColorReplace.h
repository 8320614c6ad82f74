#pragma once

#include "Proc/Effects/Lumenta/Pixels/OctTree.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>

namespace Tarsel::Proc {

/// Writes for every pixel (4 bytes: red, green, blue, one that is not read) the palette index of the node in
/// which it lies: the deepest one on its way from the root that has not been folded. The tree holds all of
/// the pixels and is used up: nodes outside the heap get the index of their parent. MemoryException.
void color_replace(OctTree& tree, PlaneView pixels, MutablePlane indices, std::size_t width,
                   std::size_t height);

} // namespace Tarsel::Proc
