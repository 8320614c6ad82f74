#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <sys/mman.h>

namespace Tarsel::Proc::Details {

void Unmap::operator()(void* memory) const noexcept {
    (void)munmap(memory, size);
}

Mapping MapZeroed(std::size_t size) {
    // Not from the heap, which may hand out used memory again and then has to clear all of it.
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        Core::Throw<Core::MemoryException>(
            {"Proc/Effects/Lumenta/Pixels/ZeroedArray",
             "Tarsel::Proc::Details::Mapping Tarsel::Proc::Details::MapZeroed(std::size_t)"},
            "Unable to allocate memory for a table of colours",
            Core::MemoryException::TagBlockSize(static_cast<unsigned>(size)));
    return {memory, {size}};
}

} // namespace Tarsel::Proc::Details
