#pragma once

#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// Names a node by the way to it from the root: a 1, followed by three bits (child index) for every level. So
/// the parent's address is `address >> 3`, the child index `address & 7`.
using OctAddress = std::uint32_t;

constexpr OctAddress ROOT_ADDRESS = 1;

/// A cube of colours. Of its pixels' alpha nothing is kept, as no result depends on it.
struct oct_node_t { // NOLINT(readability-identifier-naming)
    /// Sums of the components of the pixels that ended here; at the end, their averages.
    std::uint64_t r;
    std::uint64_t g;
    std::uint64_t b;
    /// The number of these pixels.
    std::uint32_t count;
    /// Place in the heap of nodes, 0 when not in it. At the end, the index of the colour in the palette.
    std::uint32_t heapIndex;
    OctAddress address;
    /// Children that have not been folded.
    std::uint16_t kidCount;
    /// 0 for the root, 7 for leaves.
    std::uint8_t depth;
    /// Null for the root.
    oct_node_t* parent;
};

/// Owns the nodes of a tree, in the order in which they were made: parents before their children. Nodes stay
/// where they are.
struct NodePool {
    static constexpr std::size_t BLOCK_SIZE = 2048;

    oct_node_t& operator[](std::size_t index) noexcept {
        return blocks[index / BLOCK_SIZE][index % BLOCK_SIZE];
    }

    std::vector<ZeroedArray<oct_node_t>> blocks;
    std::size_t size = 0;
};

/// A zeroed node; its index is the pool's size before. The pool owns it. MemoryException, std::bad_alloc.
oct_node_t& node_new(NodePool& pool);

/// Gives back all nodes.
void node_free(NodePool& pool) noexcept;

/// Adds the pixels of a node without children to its parent, which it returns; from then on the parent stands
/// for it. A node with children, or the root, ends the process: the tree is broken.
oct_node_t& node_fold(oct_node_t& node) noexcept;

} // namespace Tarsel::Proc
