#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace Tarsel::Proc {

/// A large table that starts as zeros and of which, as a rule, little is written to. Its memory comes from
/// calloc, which the system hands out page by page when it is first written to: it costs what it holds.
template <class T>
class ZeroedArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    /// At least one element; indices are not checked later. std::bad_alloc.
    explicit ZeroedArray(std::size_t count) : m_elements(static_cast<T*>(std::calloc(count, sizeof(T)))) {
        if (!m_elements)
            throw std::bad_alloc();
    }

    T& operator[](std::size_t index) noexcept { return m_elements.get()[index]; }
    T const& operator[](std::size_t index) const noexcept { return m_elements.get()[index]; }

    /// Gives the memory back; from then on there are no elements.
    void Free() noexcept { m_elements.reset(); }

private:
    struct FreeMemory {
        void operator()(T* memory) const noexcept { std::free(memory); }
    };

    std::unique_ptr<T, FreeMemory> m_elements;
};

} // namespace Tarsel::Proc
