#include "Proc/Algorithms/AudioAlg/ClipSamples.h"

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Algorithms/AudioAlg/ClipSamples.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Algorithms/AudioAlg/SampleVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

template <class Real>
struct ClipReal {
    using Sample = Real;

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> v) const {
        return Clip(d, v);
    }
};

void ClipAll(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count) {
    if (type == SampleType::Float)
        TransformSamples(ClipReal<float>(), dst, src, count);
    else
        TransformSamples(ClipReal<double>(), dst, src, count);
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(ClipAll);

void ClipSamples(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count) noexcept {
    HWY_DYNAMIC_DISPATCH(ClipAll)(type, dst, src, count);
}

} // namespace Tarsel::Proc
#endif
