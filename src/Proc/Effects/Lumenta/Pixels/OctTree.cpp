#include "Proc/Effects/Lumenta/Pixels/OctTree.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Tarsel::Proc {
namespace {

static_assert(CubeDirectory::MAX_CUBES == MAX_TWIGS);

constexpr std::uint32_t ROOT_PATH = 1;
constexpr std::size_t UPPER_PATHS = std::size_t{2} << (3 * (TWIG_DEPTH - 1));

constexpr std::size_t CHUNK = 256;

/// A leaf's order is count >> 7, so only its first and every 128th pixel move it.
constexpr std::uint32_t UNMOVED_COUNTS = (1u << TREE_DEPTH) - 1;

/// What one pixel adds to its leaf, by the lowest bits of its color code.
constexpr std::array<LeafCell, 8> PIXELS = [] {
    std::array<LeafCell, 8> pixels{};
    for (ColorCode color = 0; color < pixels.size(); ++color)
        pixels[color] = {1 | std::uint64_t{color >> RED_BIT & 1u} << 32,
                         (color >> GREEN_BIT & 1u) | std::uint64_t{color >> BLUE_BIT & 1u} << 32};
    return pixels;
}();

void AddChunk(OctTree& tree, node_heap& heap, std::span<ColorCode const> pixels) {
    // Which pixels move their leaves cannot be foreseen, so they are noted without a branch.
    std::array<NodeId, CHUNK> moved;
    std::size_t movedCount = 0;
    for (ColorCode const color : pixels) {
        std::uint32_t twig = tree.twigs.Find(color);
        if (twig == CubeDirectory::NONE)
            twig = node_insert(tree, color);
        NodeId const node = LeafId(twig, color >> 3 & 7u);
        LeafCell& leaf = tree.leaves[node - FIRST_LEAF];
        leaf.countAndRed += PIXELS[color % 8].countAndRed;
        leaf.greenAndBlue += PIXELS[color % 8].greenAndBlue;
        moved[movedCount] = node;
        movedCount += static_cast<unsigned>(leaf.Count() == 1) |
                      static_cast<unsigned>((leaf.Count() & UNMOVED_COUNTS) == 0);
    }
    for (std::size_t i = 0; i < movedCount; ++i) {
        NodeId const node = moved[i];
        std::uint32_t const place = heap.places[node];
        if (place == 0)
            ++tree.nodes[ParentOf(tree, node)].kidCount;
        heap_add(heap, node, place == 0 ? 0 : heap.slots[place].Order() + 1);
    }
}

NodeId InsertUpper(OctTree& tree, std::uint32_t path) noexcept {
    NodeId& node = tree.upperIds[path];
    if (node == 0) {
        NodeId const parent = InsertUpper(tree, path >> 3);
        node = ++tree.upperCount;
        node_new(tree, node, parent);
    }
    return node;
}

/// Sums and count of a leaf.
[[gnu::always_inline]] inline oct_node_t MakeLeafNode(OctTree const& tree, NodeId node) noexcept {
    LeafCell const& leaf = tree.leaves[node - FIRST_LEAF];
    Rgb const first = tree.firstColors[TwigOfLeaf(node) - 1];
    unsigned const child = ChildOfTwig(node);
    // A leaf is two colours wide.
    std::uint64_t const red = first.red + 2 * (child >> RED_BIT & 1u);
    std::uint64_t const green = first.green + 2 * (child >> GREEN_BIT & 1u);
    std::uint64_t const blue = first.blue + 2 * (child >> BLUE_BIT & 1u);
    std::uint64_t const count = leaf.Count();
    return {count * red + leaf.OddRed(),
            count * green + leaf.OddGreen(),
            count * blue + leaf.OddBlue(),
            leaf.Count(),
            ParentOf(tree, node),
            0,
            TREE_DEPTH};
}

/// Fewer children first, then the smaller count >> depth.
std::uint64_t GetOrder(oct_node_t const& node) noexcept {
    return std::uint64_t{node.kidCount} << 32 | node.count >> node.depth;
}

std::uint8_t Average(std::uint64_t sum, std::uint32_t count) noexcept {
    return static_cast<std::uint8_t>(static_cast<double>(sum) / count + 0.5);
}

} // namespace

OctTree::OctTree()
    : firstColors(MAX_TWIGS), leaves(NODE_ID_END - FIRST_LEAF), nodes(FIRST_LEAF), upperIds(UPPER_PATHS) {
    upperIds[ROOT_PATH] = ++upperCount;
}

void AddPixels(OctTree& tree, node_heap& heap, std::span<ColorCode const> pixels) {
    for (std::size_t i = 0; i < pixels.size(); i += CHUNK)
        AddChunk(tree, heap, pixels.subspan(i, std::min(CHUNK, pixels.size() - i)));
}

void node_new(OctTree& tree, NodeId node, NodeId parent) noexcept {
    tree.nodes[node].parent = parent;
    tree.nodes[node].depth = static_cast<std::uint8_t>(tree.nodes[parent].depth + 1);
    ++tree.nodes[parent].kidCount;
}

std::uint32_t node_insert(OctTree& tree, ColorCode color) noexcept {
    constexpr unsigned depth = TWIG_DEPTH - 1;
    std::uint32_t const twig = tree.twigs.Add(color);
    ColorCode const first = color >> CubeDirectory::COLOR_BITS << CubeDirectory::COLOR_BITS;
    tree.firstColors[twig - 1] = {GetComponent(first, RED_BIT), GetComponent(first, GREEN_BIT),
                                  GetComponent(first, BLUE_BIT)};
    node_new(tree, TwigId(twig), InsertUpper(tree, 1u << 3 * depth | color >> (COLOR_CODE_BITS - 3 * depth)));
    return twig;
}

NodeId ParentOf(OctTree const& tree, NodeId node) noexcept {
    return IsLeaf(node) ? TwigId(TwigOfLeaf(node)) : tree.nodes[node].parent;
}

Rgb GetAverage(OctTree const& tree, NodeId node) noexcept {
    oct_node_t const known = IsLeaf(node) ? MakeLeafNode(tree, node) : tree.nodes[node];
    return {Average(known.r, known.count), Average(known.g, known.count), Average(known.b, known.count)};
}

NodeId node_fold(OctTree& tree, NodeId node) noexcept {
    oct_node_t const folded = IsLeaf(node) ? MakeLeafNode(tree, node) : tree.nodes[node];
    if (folded.kidCount != 0 || folded.parent == 0)
        std::abort();
    oct_node_t& parent = tree.nodes[folded.parent];
    parent.r += folded.r;
    parent.g += folded.g;
    parent.b += folded.b;
    parent.count += folded.count;
    --parent.kidCount;
    return folded.parent;
}

void FoldTree(OctTree& tree, node_heap& heap, std::uint32_t colours) {
    while (heap.count > colours + 1) {
        NodeId const parent = node_fold(tree, pop_heap(heap));
        heap_add(heap, parent, GetOrder(tree.nodes[parent]));
    }
}

void node_free(OctTree& tree) noexcept {
    tree.twigs.Free();
    tree.firstColors.Free();
    tree.leaves.Free();
    tree.nodes.Free();
    tree.upperIds.Free();
}

} // namespace Tarsel::Proc
