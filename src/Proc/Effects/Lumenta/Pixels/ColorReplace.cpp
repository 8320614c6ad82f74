#include "Proc/Effects/Lumenta/Pixels/ColorReplace.h"

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstdint>

namespace Tarsel::Proc {

void color_replace(OctTree& tree, PlaneView pixels, MutablePlane indices, std::size_t width,
                   std::size_t height) {
    ZeroedArray<std::uint8_t> indexOfCell(CELL_COUNT);
    NodePool& nodes = tree.GetNodes();
    // Parents come before their children, so a folded node takes its index from a parent that has one. What
    // inner nodes outside the heap get does not matter: no pixel ends there.
    for (std::size_t i = 1; i < nodes.size; ++i) {
        oct_node_t& node = nodes[i];
        if (node.heapIndex == 0)
            node.heapIndex = node.parent->heapIndex;
        if (node.depth == TREE_DEPTH)
            indexOfCell[node.address - FIRST_LEAF] = static_cast<std::uint8_t>(node.heapIndex);
    }
    for (std::size_t y = 0; y < height; ++y) {
        std::uint8_t const* pixel = pixels.Row(y);
        std::uint8_t* const row = indices.Row(y);
        for (std::size_t x = 0; x < width; ++x, pixel += 4)
            row[x] = indexOfCell[CellOf(MakeColorCode(pixel[0], pixel[1], pixel[2]))];
    }
}

} // namespace Tarsel::Proc
