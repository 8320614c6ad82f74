#pragma once

#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/OctTree.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>

namespace Tarsel::Proc {

/// Writes for every pixel (4 bytes: red, green, blue, one that is not read) the place in the heap, 1 to 255,
/// of the deepest node in which it lies. Heap and tree are of these pixels. std::bad_alloc.
void color_replace(OctTree const& tree, node_heap const& heap, PlaneView pixels, MutablePlane indices,
                   std::size_t width, std::size_t height);

} // namespace Tarsel::Proc
