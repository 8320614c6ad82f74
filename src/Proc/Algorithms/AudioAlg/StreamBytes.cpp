#include "Proc/Algorithms/AudioAlg/StreamBytes.h"

#include <hwy/cache_control.h>

#include <cstring>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Algorithms/AudioAlg/StreamBytes.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

void StreamAll(std::uint8_t* dst, std::uint8_t const* src, std::size_t size) {
    namespace hn = hwy::HWY_NAMESPACE;
    constexpr hn::ScalableTag<std::uint8_t> bytes;
    std::size_t const step = hn::Lanes(bytes);
    // Streaming stores are aligned.
    std::size_t i = std::min(size, (step - reinterpret_cast<std::uintptr_t>(dst) % step) % step);
    std::memcpy(dst, src, i);
    for (; i + step <= size; i += step)
        hn::Stream(hn::LoadU(bytes, src + i), bytes, dst + i);
    std::memcpy(dst + i, src + i, size - i);
    hwy::FlushStream();
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(StreamAll);

void StreamBytes(std::uint8_t* dst, std::uint8_t const* src, std::size_t size) noexcept {
    HWY_DYNAMIC_DISPATCH(StreamAll)(dst, src, size);
}

} // namespace Tarsel::Proc
#endif
