#include "Proc/Effects/Lumenta/Pixels/ColorReplace.h"

#include "Proc/Effects/Lumenta/Pixels/NodeId.h"
#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {
namespace {

/// The places of a twig's leaves, or of what stands for them.
using TwigPlaces = std::array<std::uint8_t, 8>;

std::uint8_t FindPlace(OctTree const& tree, node_heap const& heap, NodeId node) {
    while (heap.places[node] == 0)
        node = ParentOf(tree, node);
    return static_cast<std::uint8_t>(heap.places[node]);
}

/// By twig; there is none with the number 0.
std::vector<TwigPlaces> FindPlaces(OctTree const& tree, node_heap const& heap) {
    std::vector<TwigPlaces> places(std::size_t{tree.twigCount} + 1);
    for (std::uint32_t twig = 1; twig < places.size(); ++twig) {
        std::uint8_t shared = 0;
        for (unsigned child = 0; child < 8; ++child) {
            NodeId const leaf = LeafId(twig, child);
            if (tree.leaves[leaf - s_firstLeaf].Count() == 0)
                continue;
            std::uint32_t const own = heap.places[leaf];
            if (own == 0 && shared == 0)
                shared = FindPlace(tree, heap, TwigId(twig));
            places[twig][child] = own != 0 ? static_cast<std::uint8_t>(own) : shared;
        }
    }
    return places;
}

} // namespace

void color_replace(OctTree const& tree, node_heap const& heap, PlaneView pixels, MutablePlane indices,
                   std::size_t width, std::size_t height) {
    std::vector<TwigPlaces> const places = FindPlaces(tree, heap);
    std::vector<ColorCode> colors(width);
    for (std::size_t y = 0; y < height; ++y) {
        MakeColorCodes(pixels.Row(y), width, colors.data());
        std::uint8_t* const row = indices.Row(y);
        for (std::size_t x = 0; x < width; ++x)
            row[x] = places[tree.FindTwig(colors[x])][colors[x] >> 3 & 7u];
    }
}

} // namespace Tarsel::Proc
