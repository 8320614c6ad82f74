#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/OctNode.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Addresses of leaves, less this, are their cells.
constexpr OctAddress FIRST_LEAF = ROOT_ADDRESS << (3 * TREE_DEPTH);

/// The octree of a picture's colours. Children are found by their address in a table instead of by pointers
/// from node to node. Not synchronised.
class OctTree {
public:
    /// Has its root; `tables` tells what to expect of the picture. MemoryException, std::bad_alloc.
    explicit OctTree(TableUse tables);

    /// Counts the opaque pixels of a row (4 bytes each: red, green, blue, one that is not read) and keeps
    /// their leaves in the heap. MemoryException, std::bad_alloc, and what heap_add throws.
    void AddRow(node_heap& heap, std::uint8_t const* pixels, std::size_t width);

    /// To be called after the last row: now all pixels are in the sums of their leaves.
    void Settle() noexcept;

    /// All nodes, folded ones too.
    NodePool& GetNodes() noexcept { return m_nodes; }

private:
    friend oct_node_t& node_insert(OctTree& tree, OctAddress address);

    void AddChunk(node_heap& heap, std::uint8_t const* pixels, std::size_t count);

    NodePool m_nodes;
    /// Index of the node with an address; 0 for none, and for the root.
    ZeroedArray<std::uint32_t> m_indices;
    /// Of every cell the pixels that are not in its leaf's sums yet; see OctTree.cpp.
    ZeroedArray<std::uint64_t> m_pending;
};

/// The node with that address, made with all its ancestors where it is missing. MemoryException,
/// std::bad_alloc.
oct_node_t& node_insert(OctTree& tree, OctAddress address);

} // namespace Tarsel::Proc
