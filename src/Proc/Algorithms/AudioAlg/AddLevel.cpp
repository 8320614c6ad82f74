#include "Proc/Algorithms/AudioAlg/AddLevel.h"

#include <cmath>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Algorithms/AudioAlg/AddLevel.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Algorithms/AudioAlg/SampleVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

using RealTag = hn::ScalableTag<double>;
using Reals = hn::Vec<RealTag>;

// SampleTraits<T>::ToReal for as many samples as a vector has lanes.

HWY_INLINE Reals ToReals(unsigned char /*type*/, std::uint8_t const* at) {
    constexpr RealTag d;
    constexpr hn::Rebind<std::int32_t, RealTag> ints;
    auto const s = hn::PromoteTo(ints, LoadSamples(hn::Rebind<std::uint8_t, RealTag>(), at));
    return hn::Mul(hn::PromoteTo(d, hn::Sub(s, hn::Set(ints, 128))), hn::Set(d, 0.0078125));
}

HWY_INLINE Reals ToReals(short /*type*/, std::uint8_t const* at) {
    constexpr RealTag d;
    constexpr hn::Rebind<std::int32_t, RealTag> ints;
    auto const s = hn::PromoteTo(ints, LoadSamples(hn::Rebind<std::int16_t, RealTag>(), at));
    return hn::Div(hn::PromoteTo(d, s), hn::Set(d, 32767.0));
}

HWY_INLINE Reals ToReals(int /*type*/, std::uint8_t const* at) {
    constexpr RealTag d;
    auto const s = LoadSamples(hn::Rebind<std::int32_t, RealTag>(), at);
    return hn::Div(hn::PromoteTo(d, s), hn::Set(d, 2147483647.0));
}

HWY_INLINE Reals ToReals(float /*type*/, std::uint8_t const* at) {
    return hn::PromoteTo(RealTag(), LoadSamples(hn::Rebind<float, RealTag>(), at));
}

HWY_INLINE Reals ToReals(double /*type*/, std::uint8_t const* at) {
    return LoadSamples(RealTag(), at);
}

#endif

/// std::fma is one instruction here wherever the instruction set has it, and a call of the C library where it
/// has not; the result is the same.
HWY_INLINE double AddSquare(double v, double squares) {
    return std::fma(v, v, squares);
}

template <class T>
void AddLevelOf(std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    double peak = sums.peak;
    double squares = sums.squares;
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr RealTag d;
    std::size_t const lanes = hn::Lanes(d);
    HWY_ALIGN double reals[hn::MaxLanes(d)];
    Reals peaks = hn::Set(d, peak);
    for (; i + lanes <= count; i += lanes) {
        Reals const v = ToReals(T(), samples + i * sizeof(T));
        peaks = hn::IfThenElse(hn::Lt(peaks, v), v, peaks);
        hn::Store(v, d, reals);
        for (std::size_t lane = 0; lane < lanes; ++lane)
            squares = AddSquare(reals[lane], squares);
    }
    peak = hn::GetLane(hn::MaxOfLanes(d, peaks));
#endif
    for (; i < count; ++i) {
        double const v = SampleTraits<T>::ToReal(ReadSample<T>(samples + i * sizeof(T)));
        peak = peak < v ? v : peak;
        squares = AddSquare(v, squares);
    }
    sums = {peak, squares};
}

void AddLevelOfAny(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    switch (type) {
    case SampleType::U8:
        return AddLevelOf<unsigned char>(samples, count, sums);
    case SampleType::S16:
        return AddLevelOf<short>(samples, count, sums);
    case SampleType::S32:
        return AddLevelOf<int>(samples, count, sums);
    case SampleType::Float:
        return AddLevelOf<float>(samples, count, sums);
    case SampleType::Double:
        return AddLevelOf<double>(samples, count, sums);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(AddLevelOfAny);

void AddLevel(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept {
    HWY_DYNAMIC_DISPATCH(AddLevelOfAny)(type, samples, count, sums);
}

} // namespace Tarsel::Proc
#endif
