#pragma once

#include "Proc/Effects/Lumenta/Pixels/NodeId.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Binary heap of nodes of the octree, the one to be folded first on top: that with the lowest order. Nodes
/// of the same order do not move. Not synchronized.
struct node_heap { // NOLINT(readability-identifier-naming)
    /// A node and its order (below 2^36), in one number.
    class Slot {
    public:
        Slot(NodeId node, std::uint64_t order) noexcept : m_bits(order << s_nodeBits | node) {}
        NodeId Node() const noexcept { return m_bits & ((NodeId{1} << s_nodeBits) - 1); }
        std::uint64_t Order() const noexcept { return m_bits >> s_nodeBits; }
        /// Strictly: less than the other one with the lowest of nodes.
        bool IsBefore(Slot other) const noexcept { return m_bits < other.Order() << s_nodeBits; }

    private:
        static constexpr unsigned s_nodeBits = 22;
        static_assert(s_nodeIdEnd <= 1u << s_nodeBits);

        std::uint64_t m_bits;
    };

    /// Empty. std::bad_alloc.
    node_heap() : places(s_nodeIdEnd) {}
    node_heap(node_heap const&) = delete;
    node_heap& operator=(node_heap const&) = delete;
    ~node_heap();

    std::uint32_t capacity = 0;
    /// Place 0 is never filled: there are count - 1 nodes, at 1 to count - 1.
    std::uint32_t count = 0;
    Slot* slots = nullptr;
    /// By node: its place, 0 when it is not in the heap.
    ZeroedArray<std::uint32_t> places;
};

namespace Details {

/// Makes room for more slots. FilterException "Cannot realloc heap memmory"; the heap has no slots then.
void GrowHeap(node_heap& heap);

inline void SetPlace(node_heap& heap, std::uint32_t place, node_heap::Slot slot) noexcept {
    heap.slots[place] = slot;
    heap.places[slot.Node()] = place;
}

} // namespace Details

// Below the time is spent: hundreds of thousands of nodes go in and out for one picture, so all is inline.

/// Moves the node at a place up while it comes strictly before its parent.
inline void up_heap(node_heap& heap, std::uint32_t place) noexcept {
    node_heap::Slot const moving = heap.slots[place];
    std::uint32_t to = place;
    for (; to > 1 && moving.IsBefore(heap.slots[to / 2]); to /= 2)
        Details::SetPlace(heap, to, heap.slots[to / 2]);
    if (to != place)
        Details::SetPlace(heap, to, moving);
}

/// Moves the node at a place down while one of its children comes strictly before it; of two children the
/// left one, unless the right one comes strictly before that.
inline void down_heap(node_heap& heap, std::uint32_t place) noexcept {
    node_heap::Slot const moving = heap.slots[place];
    std::uint32_t to = place;
    for (std::uint32_t child = 2 * to; child < heap.count; child = 2 * to) {
        if (child + 1 < heap.count && heap.slots[child + 1].IsBefore(heap.slots[child]))
            ++child;
        if (!heap.slots[child].IsBefore(moving))
            break;
        Details::SetPlace(heap, to, heap.slots[child]);
        to = child;
    }
    if (to != place)
        Details::SetPlace(heap, to, moving);
}

/// Adds a node, or gives one that is in the heap a new order and moves it to where it belongs then.
/// FilterException "Cannot realloc heap memmory"; the heap has no slots then.
inline void heap_add(node_heap& heap, NodeId node, std::uint64_t order) {
    if (std::uint32_t const place = heap.places[node]; place != 0) {
        heap.slots[place] = {node, order};
        down_heap(heap, place);
        up_heap(heap, heap.places[node]);
        return;
    }
    if (heap.count == 0)
        heap.count = 1;
    if (heap.count >= heap.capacity)
        Details::GrowHeap(heap);
    Details::SetPlace(heap, heap.count, {node, order});
    up_heap(heap, heap.count++);
}

/// Takes the top node off the heap; 0 when there is none.
inline NodeId pop_heap(node_heap& heap) noexcept {
    if (heap.count <= 1)
        return 0;
    NodeId const top = heap.slots[1].Node();
    --heap.count;
    if (heap.count > 1) {
        Details::SetPlace(heap, 1, heap.slots[heap.count]);
        down_heap(heap, 1);
    }
    heap.places[top] = 0;
    return top;
}

} // namespace Tarsel::Proc
