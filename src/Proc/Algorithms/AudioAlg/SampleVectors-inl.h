// What the loops over samples have in common, compiled for every instruction set: included after
// hwy/foreach_target.h, and once for each inclusion of the file that uses it. The lowest of them is Highway's
// emulation, so that every operation is written once, for vectors.
#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(TARSEL_PROC_SAMPLE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TARSEL_PROC_SAMPLE_VECTORS_INL_H
#undef TARSEL_PROC_SAMPLE_VECTORS_INL_H
#else
#define TARSEL_PROC_SAMPLE_VECTORS_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// -1 to 1, and -1 for NaN.
template <class D>
HWY_INLINE hn::Vec<D> Clip(D d, hn::Vec<D> v) {
    hn::Vec<D> const highest = hn::Set(d, 1);
    hn::Vec<D> const lowest = hn::Set(d, -1);
    v = hn::IfThenElse(hn::Gt(v, highest), highest, v);
    return hn::IfThenElse(hn::Gt(v, lowest), v, lowest);
}

/// `count` samples at any address, as many as there are lanes at most; the lanes after them are `rest`.
template <class D>
HWY_INLINE hn::Vec<D> LoadSamples(D d, std::uint8_t const* at, std::size_t count, hn::TFromD<D> rest = 0) {
    if (HWY_LIKELY(count >= hn::Lanes(d))) {
        constexpr hn::Repartition<std::uint8_t, D> bytes;
        return hn::BitCast(d, hn::LoadU(bytes, at));
    }
    HWY_ALIGN hn::TFromD<D> part[hn::MaxLanes(d)];
    hn::Store(hn::Set(d, rest), d, part);
    if (count != 0) // of none there may be no address
        std::memcpy(part, at, count * sizeof part[0]);
    return hn::Load(d, part);
}

/// The first `count` lanes, all at most.
template <class D>
HWY_INLINE void StoreSamples(hn::Vec<D> v, D d, std::uint8_t* at, std::size_t count) {
    if (HWY_LIKELY(count >= hn::Lanes(d))) {
        constexpr hn::Repartition<std::uint8_t, D> bytes;
        return hn::StoreU(hn::BitCast(bytes, v), bytes, at);
    }
    HWY_ALIGN hn::TFromD<D> part[hn::MaxLanes(d)];
    hn::Store(v, d, part);
    std::memcpy(at, part, count * sizeof part[0]);
}

/// dst[i] = operation(src[i]), as if one sample after the other. An operation has the type `Sample`, and
/// takes a vector of them.
template <class Operation>
void TransformSamples(Operation const operation, std::uint8_t* dst, std::uint8_t const* src,
                      std::size_t count) {
    using Sample = typename Operation::Sample;
    constexpr hn::ScalableTag<Sample> d;
    std::size_t step = hn::Lanes(d);
    // A destination that begins within a vector of the source changes what is read behind it.
    std::size_t const ahead = reinterpret_cast<std::uintptr_t>(dst) - reinterpret_cast<std::uintptr_t>(src);
    if (ahead != 0)
        step = std::clamp(ahead / sizeof(Sample), std::size_t{1}, step);
    for (std::size_t i = 0; i < count; i += step) {
        std::size_t const part = std::min(step, count - i);
        auto const v = LoadSamples(d, src + i * sizeof(Sample), part);
        StoreSamples(operation(d, v), d, dst + i * sizeof(Sample), part);
    }
}

} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
