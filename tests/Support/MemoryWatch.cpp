#include "Support/MemoryWatch.h"

#include <algorithm>
#include <array>
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
// Of the sanitizers' interface, whose header not every compiler brings.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT(bugprone-reserved-identifier)
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

namespace {

/// What is there for so many looks counts. A thread that ends is left out of the sanitizers' sum, with all
/// that it freed, until it has run on: on a busy machine that takes a while.
#ifdef HAS_OWN_HEAP
constexpr std::size_t s_looks = 100;
#else
constexpr std::size_t s_looks = 3;
#endif

} // namespace

MemoryWatch::MemoryWatch()
    : m_thread([this](std::stop_token const& stop) {
          std::array<std::size_t, s_looks> looks{};
          for (std::size_t i = 0; !stop.stop_requested(); ++i) {
              std::size_t const now = GetMemoryInUse();
              looks[i % looks.size()] = now - std::min(now, m_base);
              m_most = std::max(m_most.load(), *std::min_element(looks.begin(), looks.end()));
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
          }
      }) {}

} // namespace Tarsel::Test
