#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

namespace Tarsel::Proc {

/// How much of a table will be written to.
enum class TableUse {
    /// Little, here and there: memory is taken only where it is.
    Sparse,
    /// Much of it: memory may be taken in large pages.
    Dense
};

namespace Details {

struct FreeZeroed {
    /// Of a mapping; 0 when the memory is of the heap.
    std::size_t mappedSize = 0;

    void operator()(void* memory) const noexcept;
};

using ZeroedMemory = std::unique_ptr<void, FreeZeroed>;

/// `count` elements of `size` bytes, zeros. MemoryException when there is no memory.
ZeroedMemory AllocateZeroed(std::size_t count, std::size_t size, TableUse use);

} // namespace Details

/// A table that starts as zeros.
template <class T>
class ZeroedArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    /// MemoryException. Indices are not checked later.
    explicit ZeroedArray(std::size_t count, TableUse use = TableUse::Sparse)
        : m_memory(Details::AllocateZeroed(count, sizeof(T), use)) {}

    T& operator[](std::size_t index) noexcept { return static_cast<T*>(m_memory.get())[index]; }
    T const& operator[](std::size_t index) const noexcept {
        return static_cast<T const*>(m_memory.get())[index];
    }

private:
    Details::ZeroedMemory m_memory;
};

} // namespace Tarsel::Proc
