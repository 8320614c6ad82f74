#include "MemoryWatch.h"

#include <algorithm>
#include <chrono>
#include <stop_token>

#include <malloc.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_OWN_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_OWN_HEAP 1
#endif
#endif
#ifdef HAS_OWN_HEAP
#include <sanitizer/allocator_interface.h>
#endif

namespace Tarsel::Test {

std::size_t GetMemoryInUse() {
#ifdef HAS_OWN_HEAP
    return __sanitizer_get_current_allocated_bytes();
#else
    auto const heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#endif
}

MemoryWatch::MemoryWatch()
    : m_thread([this](std::stop_token const& stop) {
          while (!stop.stop_requested()) {
              std::size_t const now = GetMemoryInUse();
              m_most = std::max(m_most.load(), now - std::min(now, m_base));
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
          }
      }) {}

} // namespace Tarsel::Test
