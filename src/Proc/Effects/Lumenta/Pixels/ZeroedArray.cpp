#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <cstdlib>
#include <sys/mman.h>

namespace Tarsel::Proc::Details {
namespace {

/// Below this a large page is not worth being cleared. (The usual size of a large page.)
constexpr std::size_t LARGE = std::size_t{2} << 20;

} // namespace

void FreeZeroed::operator()(void* memory) const noexcept {
    if (mappedSize != 0)
        munmap(memory, mappedSize);
    else
        std::free(memory);
}

ZeroedMemory AllocateZeroed(std::size_t count, std::size_t size, TableUse use) {
    std::size_t const bytes = count * size;
#ifdef MADV_HUGEPAGE
    if (use == TableUse::Dense && bytes >= LARGE) {
        void* const mapped =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped != MAP_FAILED) {
            (void)madvise(mapped, bytes, MADV_HUGEPAGE); // Where there are none, small ones do.
            return {mapped, {bytes}};
        }
    }
#endif
    void* const memory = std::calloc(count, size);
    if (memory == nullptr)
        Core::Throw<Core::MemoryException>(
            {"Proc/Effects/Lumenta/Pixels/ZeroedArray",
             "Tarsel::Proc::Details::ZeroedMemory Tarsel::Proc::Details::AllocateZeroed(std::size_t, "
             "std::size_t, Tarsel::Proc::TableUse)"},
            "Unable to allocate memory for a table of colours",
            Core::MemoryException::TagBlockSize(static_cast<unsigned>(bytes)));
    return {memory, {0}};
}

} // namespace Tarsel::Proc::Details
