// What the loops over samples have in common, compiled for every instruction set: included after
// hwy/foreach_target.h, and once for each inclusion of the file that uses it.
#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#if defined(TARSEL_PROC_SAMPLE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TARSEL_PROC_SAMPLE_VECTORS_INL_H
#undef TARSEL_PROC_SAMPLE_VECTORS_INL_H
#else
#define TARSEL_PROC_SAMPLE_VECTORS_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {

/// -1 to 1, and -1 for NaN.
template <class Real>
Real ClipOne(Real v) {
    v = v > 1 ? 1 : v;
    return v > -1 ? v : -1;
}

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
HWY_INLINE hn::Vec<D> ClipMany(D d, hn::Vec<D> v) {
    hn::Vec<D> const highest = hn::Set(d, 1);
    hn::Vec<D> const lowest = hn::Set(d, -1);
    v = hn::IfThenElse(hn::Gt(v, highest), highest, v);
    return hn::IfThenElse(hn::Gt(v, lowest), v, lowest);
}

// Samples lie at any address, so that they are moved as bytes.

template <class D>
HWY_INLINE hn::Vec<D> LoadSamples(D d, std::uint8_t const* at) {
    constexpr hn::Repartition<std::uint8_t, D> bytes;
    return hn::BitCast(d, hn::LoadU(bytes, at));
}

template <class D>
HWY_INLINE void StoreSamples(hn::Vec<D> v, D /*d*/, std::uint8_t* at) {
    constexpr hn::Repartition<std::uint8_t, D> bytes;
    hn::StoreU(hn::BitCast(bytes, v), bytes, at);
}

#endif

/// dst[i] = op(src[i]), as if one sample after the other. An operation has the type `Sample`, and takes one
/// of them (`One`) or a vector (`Many`).
template <class Operation>
void TransformSamples(Operation const op, std::uint8_t* dst, std::uint8_t const* src, std::size_t count) {
    using Sample = typename Operation::Sample;
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr hn::ScalableTag<Sample> d;
    std::size_t const lanes = hn::Lanes(d);
    // A destination that begins within the first vector of the source changes what would have been read.
    std::size_t const ahead = reinterpret_cast<std::uintptr_t>(dst) - reinterpret_cast<std::uintptr_t>(src);
    if (ahead == 0 || ahead >= lanes * sizeof(Sample))
        for (; i + lanes <= count; i += lanes)
            StoreSamples(op.Many(d, LoadSamples(d, src + i * sizeof(Sample))), d, dst + i * sizeof(Sample));
#endif
    for (; i < count; ++i)
        WriteSample(dst + i * sizeof(Sample), op.One(ReadSample<Sample>(src + i * sizeof(Sample))));
}

} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
