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

using RealTag = hn::ScalableTag<double>;
using Reals = hn::Vec<RealTag>;

template <class T>
using SampleTag = hn::Rebind<T, RealTag>;

// SampleTraits<T>::ToReal for as many samples as a vector of reals has lanes.

HWY_INLINE Reals ToReals(hn::Vec<SampleTag<std::uint8_t>> s) {
    constexpr SampleTag<std::int32_t> ints;
    auto const centered = hn::Sub(hn::PromoteTo(ints, s), hn::Set(ints, 128));
    return hn::Mul(hn::PromoteTo(RealTag(), centered), hn::Set(RealTag(), 0.0078125));
}

HWY_INLINE Reals ToReals(hn::Vec<SampleTag<std::int16_t>> s) {
    auto const wide = hn::PromoteTo(SampleTag<std::int32_t>(), s);
    return hn::Div(hn::PromoteTo(RealTag(), wide), hn::Set(RealTag(), 32767.0));
}

HWY_INLINE Reals ToReals(hn::Vec<SampleTag<std::int32_t>> s) {
    return hn::Div(hn::PromoteTo(RealTag(), s), hn::Set(RealTag(), 2147483647.0));
}

HWY_INLINE Reals ToReals(hn::Vec<SampleTag<float>> s) {
    return hn::PromoteTo(RealTag(), s);
}

HWY_INLINE Reals ToReals(Reals s) {
    return s;
}

/// std::fma is one instruction here wherever the instruction set has it, and a call of the C library where it
/// has not; the result is the same. Silence behind the last sample adds nothing.
HWY_INLINE void AddSquares(Reals v, double& squares) {
    HWY_ALIGN double reals[hn::MaxLanes(RealTag())];
    hn::Store(v, RealTag(), reals);
    for (std::size_t lane = 0; lane < hn::Lanes(RealTag()); ++lane)
        squares = std::fma(reals[lane], reals[lane], squares);
}

template <class T, bool WithSquares>
void AddLevelOf(std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    constexpr RealTag d;
    constexpr SampleTag<T> type;
    constexpr T silence = std::is_same_v<T, std::uint8_t> ? 128 : 0;
    std::size_t const lanes = hn::Lanes(d);
    double squares = sums.squares;
    Reals highest = hn::Set(d, sums.highest);
    Reals lowest = hn::Set(d, sums.lowest);
    for (std::size_t i = 0; i < count; i += lanes) {
        Reals const v = ToReals(LoadSamples(type, samples + i * sizeof(T), count - i, silence));
        highest = hn::IfThenElse(hn::Lt(highest, v), v, highest);
        lowest = hn::IfThenElse(hn::Gt(lowest, v), v, lowest);
        if constexpr (WithSquares)
            AddSquares(v, squares);
    }
    sums = {hn::GetLane(hn::MaxOfLanes(d, highest)), hn::GetLane(hn::MinOfLanes(d, lowest)), squares};
}

template <bool WithSquares>
void AddLevelOfAny(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    switch (type) {
    case SampleType::U8:
        return AddLevelOf<std::uint8_t, WithSquares>(samples, count, sums);
    case SampleType::S16:
        return AddLevelOf<std::int16_t, WithSquares>(samples, count, sums);
    case SampleType::S32:
        return AddLevelOf<std::int32_t, WithSquares>(samples, count, sums);
    case SampleType::Float:
        return AddLevelOf<float, WithSquares>(samples, count, sums);
    case SampleType::Double:
        return AddLevelOf<double, WithSquares>(samples, count, sums);
    }
}

void AddLevelAndSquares(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    AddLevelOfAny<true>(type, samples, count, sums);
}

void AddRangeAlone(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) {
    AddLevelOfAny<false>(type, samples, count, sums);
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(AddLevelAndSquares);
HWY_EXPORT(AddRangeAlone);

void AddLevel(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept {
    HWY_DYNAMIC_DISPATCH(AddLevelAndSquares)(type, samples, count, sums);
}

void AddRange(SampleType type, std::uint8_t const* samples, std::size_t count, LevelSums& sums) noexcept {
    HWY_DYNAMIC_DISPATCH(AddRangeAlone)(type, samples, count, sums);
}

} // namespace Tarsel::Proc
#endif
