#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

namespace Tarsel::Test {

/// Bytes that the process has allocated and not freed.
std::size_t GetMemoryInUse();

/// Looks at the memory in use every few milliseconds while it lives.
class MemoryWatch {
public:
    MemoryWatch();
    MemoryWatch(MemoryWatch const&) = delete;
    MemoryWatch& operator=(MemoryWatch const&) = delete;

    /// How many bytes more than at the start have been in use at a time, for a few milliseconds at least.
    std::size_t GetMost() const noexcept { return m_most; }

private:
    std::size_t m_base = GetMemoryInUse();
    std::atomic<std::size_t> m_most{0};
    std::jthread m_thread;
};

} // namespace Tarsel::Test
