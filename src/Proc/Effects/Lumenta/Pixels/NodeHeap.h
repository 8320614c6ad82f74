#pragma once

#include "Proc/Effects/Lumenta/Pixels/OctNode.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Binary heap of nodes, the one to be folded first on top: fewer children first, then the smaller
/// count >> depth. Nodes of the same order do not move. Does not own the nodes. Not synchronised.
struct node_heap { // NOLINT(readability-identifier-naming)
    /// A node, and beside it its order as it was when it was last added.
    struct Slot {
        std::uint64_t order;
        oct_node_t* node;
    };

    node_heap() noexcept = default;
    node_heap(node_heap const&) = delete;
    node_heap& operator=(node_heap const&) = delete;
    ~node_heap();

    std::uint32_t capacity = 0;
    /// Place 0 is never filled: with any, there are count - 1 nodes, at 1 to count - 1.
    std::uint32_t count = 0;
    Slot* slots = nullptr;
};

/// Adds a node, or moves one that is in the heap to where it belongs now. FilterException "Cannot realloc
/// heap memmory"; the heap is empty then.
void heap_add(node_heap& heap, oct_node_t& node);

/// Takes the top node off the heap; null when there is none.
oct_node_t* pop_heap(node_heap& heap) noexcept;

/// Moves the node at a place up while it comes strictly before its parent.
void up_heap(node_heap& heap, std::uint32_t place) noexcept;

/// Moves the node at a place down while one of its children comes strictly before it; of two children the
/// left one, unless the right one comes strictly before that.
void down_heap(node_heap& heap, std::uint32_t place) noexcept;

} // namespace Tarsel::Proc
