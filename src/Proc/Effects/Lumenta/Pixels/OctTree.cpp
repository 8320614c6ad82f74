#include "Proc/Effects/Lumenta/Pixels/OctTree.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Tarsel::Proc {
namespace {

constexpr std::uint32_t s_rootPath = 1;
constexpr std::size_t s_upperPaths = std::size_t{2} << (3 * (s_twigDepth - 1));

constexpr std::size_t s_chunk = 256;

/// A leaf's order is count >> 7, so only its first and every 128th pixel move it.
constexpr std::uint32_t s_unmovedCounts = (1u << s_treeDepth) - 1;

/// What one pixel adds to its leaf, by the lowest bits of its color code.
constexpr std::array<LeafCell, 8> s_pixels = [] {
    std::array<LeafCell, 8> pixels{};
    for (ColorCode color = 0; color < pixels.size(); ++color)
        pixels[color] = {1 | std::uint64_t{color >> s_redBit & 1u} << 32,
                         (color >> s_greenBit & 1u) | std::uint64_t{color >> s_blueBit & 1u} << 32};
    return pixels;
}();

void AddChunk(OctTree& tree, node_heap& heap, std::span<ColorCode const> pixels) {
    // Which pixels move their leaves cannot be foreseen, so they are noted without a branch.
    std::array<NodeId, s_chunk> moved;
    std::size_t movedCount = 0;
    for (ColorCode const color : pixels) {
        std::uint32_t twig = tree.FindTwig(color);
        if (twig == 0)
            twig = node_insert(tree, color);
        NodeId const node = LeafId(twig, color >> 3 & 7u);
        LeafCell& leaf = tree.leaves[node - s_firstLeaf];
        leaf.countAndRed += s_pixels[color % 8].countAndRed;
        leaf.greenAndBlue += s_pixels[color % 8].greenAndBlue;
        moved[movedCount] = node;
        movedCount += static_cast<unsigned>(leaf.Count() == 1) |
                      static_cast<unsigned>((leaf.Count() & s_unmovedCounts) == 0);
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

oct_node_t MakeLeafNode(OctTree const& tree, NodeId node) noexcept {
    LeafCell const& leaf = tree.leaves[node - s_firstLeaf];
    Rgb const first = tree.firstColors[TwigOfLeaf(node) - 1];
    unsigned const child = ChildOfTwig(node);
    // A leaf is two colors wide.
    std::uint64_t const red = first.red + 2 * (child >> s_redBit & 1u);
    std::uint64_t const green = first.green + 2 * (child >> s_greenBit & 1u);
    std::uint64_t const blue = first.blue + 2 * (child >> s_blueBit & 1u);
    std::uint64_t const count = leaf.Count();
    return {count * red + leaf.OddRed(),
            count * green + leaf.OddGreen(),
            count * blue + leaf.OddBlue(),
            leaf.Count(),
            ParentOf(tree, node),
            0,
            s_treeDepth};
}

oct_node_t GetNode(OctTree const& tree, NodeId node) noexcept {
    return IsLeaf(node) ? MakeLeafNode(tree, node) : tree.nodes[node];
}

/// Fewer children first, then the smaller count >> depth.
std::uint64_t GetOrder(oct_node_t const& node) noexcept {
    return std::uint64_t{node.kidCount} << 32 | node.count >> node.depth;
}

/// sum / count + 0.5, truncated.
std::uint8_t Average(std::uint64_t sum, std::uint64_t count) noexcept {
    return static_cast<std::uint8_t>((2 * sum + count) / (2 * count));
}

} // namespace

OctTree::OctTree()
    : twigs(s_maxTwigs), firstColors(s_maxTwigs), leaves(s_nodeIdEnd - s_firstLeaf), nodes(s_firstLeaf),
      upperIds(s_upperPaths) {
    upperIds[s_rootPath] = ++upperCount;
}

void AddPixels(OctTree& tree, node_heap& heap, std::span<ColorCode const> pixels) {
    for (std::size_t i = 0; i < pixels.size(); i += s_chunk)
        AddChunk(tree, heap, pixels.subspan(i, std::min(s_chunk, pixels.size() - i)));
}

void node_new(OctTree& tree, NodeId node, NodeId parent) noexcept {
    tree.nodes[node].parent = parent;
    tree.nodes[node].depth = static_cast<std::uint8_t>(tree.nodes[parent].depth + 1);
    ++tree.nodes[parent].kidCount;
}

std::uint32_t node_insert(OctTree& tree, ColorCode color) noexcept {
    constexpr unsigned upperBits = 3 * (s_twigDepth - 1);
    ColorCode const common = color >> OctTree::s_twigColorBits;
    std::uint32_t const twig = ++tree.twigCount;
    tree.twigs[common] = twig;
    tree.firstColors[twig - 1] = GetColor(common << OctTree::s_twigColorBits);
    node_new(tree, TwigId(twig), InsertUpper(tree, 1u << upperBits | color >> (s_colorCodeBits - upperBits)));
    return twig;
}

NodeId ParentOf(OctTree const& tree, NodeId node) noexcept {
    return IsLeaf(node) ? TwigId(TwigOfLeaf(node)) : tree.nodes[node].parent;
}

Rgb GetAverage(OctTree const& tree, NodeId node) noexcept {
    oct_node_t const known = GetNode(tree, node);
    return {Average(known.r, known.count), Average(known.g, known.count), Average(known.b, known.count)};
}

NodeId node_fold(OctTree& tree, NodeId node) noexcept {
    oct_node_t const folded = GetNode(tree, node);
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

void FoldTree(OctTree& tree, node_heap& heap, std::uint32_t colors) {
    while (heap.count > colors + 1) {
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
