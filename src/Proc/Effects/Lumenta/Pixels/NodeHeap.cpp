#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace Tarsel::Proc {
namespace {

constexpr std::uint32_t GROWTH = 1024;

/// Both keys of the order in one number.
std::uint64_t GetOrder(oct_node_t const& node) noexcept {
    return std::uint64_t{node.kidCount} << 32 | node.count >> node.depth;
}

void Place(node_heap& heap, std::uint32_t place, node_heap::Slot const& slot) noexcept {
    heap.slots[place] = slot;
    slot.node->heapIndex = place;
}

void Grow(node_heap& heap) {
    std::size_t const capacity = std::size_t{heap.capacity} + GROWTH;
    void* const slots = std::realloc(heap.slots, capacity * sizeof(node_heap::Slot));
    if (slots == nullptr) {
        std::free(std::exchange(heap.slots, nullptr));
        heap.capacity = 0;
        heap.count = 0;
        Core::Throw<FilterException>({"Proc/Effects/Lumenta/Pixels/NodeHeap",
                                      "void Tarsel::Proc::heap_add(node_heap &, oct_node_t &)"},
                                     "Cannot realloc heap memmory");
    }
    heap.slots = static_cast<node_heap::Slot*>(slots);
    heap.capacity = static_cast<std::uint32_t>(capacity);
}

} // namespace

node_heap::~node_heap() {
    std::free(slots);
}

void heap_add(node_heap& heap, oct_node_t& node) {
    if (node.heapIndex != 0) {
        heap.slots[node.heapIndex].order = GetOrder(node);
        down_heap(heap, node.heapIndex);
        up_heap(heap, node.heapIndex);
        return;
    }
    if (heap.count == 0)
        heap.count = 1;
    if (heap.count >= heap.capacity)
        Grow(heap);
    Place(heap, heap.count, {GetOrder(node), &node});
    up_heap(heap, heap.count++);
}

oct_node_t* pop_heap(node_heap& heap) noexcept {
    if (heap.count <= 1)
        return nullptr;
    oct_node_t* const top = heap.slots[1].node;
    --heap.count;
    if (heap.count > 1) {
        Place(heap, 1, heap.slots[heap.count]);
        down_heap(heap, 1);
    }
    top->heapIndex = 0;
    return top;
}

void up_heap(node_heap& heap, std::uint32_t place) noexcept {
    node_heap::Slot const moving = heap.slots[place];
    std::uint32_t to = place;
    for (; to > 1 && moving.order < heap.slots[to / 2].order; to /= 2)
        Place(heap, to, heap.slots[to / 2]);
    if (to != place)
        Place(heap, to, moving);
}

void down_heap(node_heap& heap, std::uint32_t place) noexcept {
    node_heap::Slot const moving = heap.slots[place];
    std::uint32_t to = place;
    for (std::uint32_t child = 2 * to; child < heap.count; child = 2 * to) {
        if (child + 1 < heap.count && heap.slots[child + 1].order < heap.slots[child].order)
            ++child;
        if (heap.slots[child].order >= moving.order)
            break;
        Place(heap, to, heap.slots[child]);
        to = child;
    }
    if (to != place)
        Place(heap, to, moving);
}

} // namespace Tarsel::Proc
