#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

namespace Tarsel::Proc {

namespace Details {

/// Gives a mapping back.
struct Unmap {
    std::size_t size;

    void operator()(void* memory) const noexcept;
};

using Mapping = std::unique_ptr<void, Unmap>;

/// Zeroed memory, of which pages are taken when they are first written to. MemoryException.
Mapping MapZeroed(std::size_t size);

} // namespace Details

/// A large table that starts as zeros and of which, as a rule, little is written to: it costs what it holds.
template <class T>
class ZeroedArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    /// At least one element; indices are not checked later. MemoryException.
    explicit ZeroedArray(std::size_t count) : m_memory(Details::MapZeroed(count * sizeof(T))) {}

    T& operator[](std::size_t index) noexcept { return static_cast<T*>(m_memory.get())[index]; }
    T const& operator[](std::size_t index) const noexcept {
        return static_cast<T const*>(m_memory.get())[index];
    }

    /// Gives the memory back; from then on there are no elements.
    void Free() noexcept { m_memory.reset(); }

private:
    Details::Mapping m_memory;
};

} // namespace Tarsel::Proc
