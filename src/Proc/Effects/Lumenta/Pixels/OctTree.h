#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/NodeId.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarsel::Proc {

/// A node of the octree. Of the pixels' alpha nothing is kept, as no result depends on it.
struct oct_node_t { // NOLINT(readability-identifier-naming)
    /// Sums of the components of the pixels that ended here.
    std::uint64_t r;
    std::uint64_t g;
    std::uint64_t b;
    /// The number of these pixels.
    std::uint32_t count;
    /// 0 for the root.
    NodeId parent;
    /// Children that have not been folded.
    std::uint8_t kidCount;
    /// 0 for the root.
    std::uint8_t depth;
};

/// A leaf's pixels. They have all but the lowest bit of their components in common: it is enough to count
/// those in which it is set. Two counts share a number, the second in its upper half.
struct LeafCell {
    std::uint64_t countAndRed;
    std::uint64_t greenAndBlue;

    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(countAndRed); }
    std::uint64_t OddRed() const noexcept { return countAndRed >> 32; }
    std::uint64_t OddGreen() const noexcept { return greenAndBlue & 0xFFFFFFFF; }
    std::uint64_t OddBlue() const noexcept { return greenAndBlue >> 32; }
};

/// The octree of a picture's colors. Nodes are found by their colors in tables instead of by pointers from
/// node to node. Not synchronized.
struct OctTree {
    /// The root alone. std::bad_alloc.
    OctTree();

    /// The number of the twig around a color, 0 when there is none.
    std::uint32_t FindTwig(ColorCode color) const noexcept { return twigs[color >> s_twigColorBits]; }

    /// Bits of a color code that tell colors of one twig apart.
    static constexpr unsigned s_twigColorBits = s_colorCodeBits - 3 * s_twigDepth;

    /// Numbers of the twigs, by what their colors have in common.
    ZeroedArray<std::uint32_t> twigs;
    std::uint32_t twigCount = 0;
    /// By twig less 1: the lowest color in it.
    ZeroedArray<Rgb> firstColors;
    /// By id less s_firstLeaf.
    ZeroedArray<LeafCell> leaves;
    /// Upper nodes and twigs, by id.
    ZeroedArray<oct_node_t> nodes;
    /// Upper nodes by the way to them from the root: a 1, followed by three bits of color code a level.
    ZeroedArray<NodeId> upperIds;
    std::uint32_t upperCount = 0;
};

/// Counts pixels and keeps their leaves in the heap, as if each pixel were taken by itself. Throws what
/// heap_add does.
void AddPixels(OctTree& tree, node_heap& heap, std::span<ColorCode const> pixels);

/// Makes a node below another.
void node_new(OctTree& tree, NodeId node, NodeId parent) noexcept;

/// Makes the twig around a color, which must not exist yet, and what is missing on the way to it from the
/// root. Returns the twig's number.
std::uint32_t node_insert(OctTree& tree, ColorCode color) noexcept;

/// 0 for the root.
NodeId ParentOf(OctTree const& tree, NodeId node) noexcept;

/// The average of the pixels that ended in a node; there are some.
Rgb GetAverage(OctTree const& tree, NodeId node) noexcept;

/// Adds the pixels of a node to its parent, which it returns: from then on that stands for it. A node with
/// children, or the root, ends the process: the tree is broken.
NodeId node_fold(OctTree& tree, NodeId node) noexcept;

/// Folds nodes in the order of the heap until it holds no more than so many, at least 1.
void FoldTree(OctTree& tree, node_heap& heap, std::uint32_t colors);

/// Gives the memory of all nodes back.
void node_free(OctTree& tree) noexcept;

} // namespace Tarsel::Proc
