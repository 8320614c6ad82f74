#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace Tarsel::Proc {
namespace {

constexpr std::uint32_t s_growth = 1024;

} // namespace

node_heap::~node_heap() {
    std::free(slots);
}

void Details::GrowHeap(node_heap& heap) {
    std::size_t const capacity = std::size_t{heap.capacity} + s_growth;
    void* const slots = std::realloc(heap.slots, capacity * sizeof(node_heap::Slot));
    if (slots == nullptr) {
        std::free(std::exchange(heap.slots, nullptr));
        heap.capacity = 0;
        heap.count = 0;
        Core::Throw<FilterException>("Cannot realloc heap memmory",
                                     TagTranscodingErrorCode(TranscodingErrors::NotEnoughMemory));
    }
    heap.slots = static_cast<node_heap::Slot*>(slots);
    heap.capacity = static_cast<std::uint32_t>(capacity);
}

} // namespace Tarsel::Proc
