#include "Proc/Algorithms/AudioAlg/SumSamples.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Algorithms/AudioAlg/SumSamples.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Algorithms/AudioAlg/SampleVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

/// The samples of a source from number `i` on, silence after its end.
template <class D>
HWY_INLINE hn::Vec<D> LoadSource(D d, MixedSamples const& source, std::size_t i, hn::TFromD<D> silence = 0) {
    i = std::min(i, source.count);
    return LoadSamples(d, source.samples + i * sizeof silence, source.count - i, silence);
}

// For each type of sample: a vector of results from number `i` on. Samples that are narrower than their sums
// are taken out of lanes of the sums' width by shifts, and are put back in the same way.

/// In fixed point, two sources at a time: the samples of both in 16 bits side by side, one instruction
/// multiplies each with its source's factor and adds the two products.
struct MixU8 {
    using Sample = std::uint8_t;

    template <class D>
    static HWY_INLINE hn::Vec<D> Sum(D d, Mix const& mix, std::size_t i) {
        constexpr hn::Repartition<std::uint16_t, D> words;
        constexpr hn::Repartition<std::int16_t, D> integers;
        constexpr hn::Repartition<std::int32_t, D> sums;
        constexpr hn::Repartition<std::uint32_t, D> bits;
        auto const lowWord = hn::Set(bits, 0xFFFF);
        auto const lowBytes = hn::Set(words, 0xFF);
        auto sum0 = hn::Set(sums, mix.offset);
        auto sum1 = sum0;
        auto sum2 = sum0;
        auto sum3 = sum0;
        for (std::size_t k = 0; k < mix.sources.size(); k += 2) {
            // The last one may be alone; it counts once.
            MixedSamples const& first = mix.sources[k];
            MixedSamples const& second = mix.sources[std::min(k + 1, mix.sources.size() - 1)];
            auto const a = hn::BitCast(bits, LoadSource(d, first, i, 128));
            auto const b = hn::BitCast(bits, LoadSource(d, second, i, 128));
            auto const factors = hn::BitCast(integers, hn::Set(bits, first.factors));
            auto const add = [&](auto sum, auto samples) HWY_ATTR {
                auto odd = hn::Zero(sums);
                auto const even = hn::ReorderWidenMulAccumulate(sums, hn::BitCast(integers, samples), factors,
                                                                hn::Zero(sums), odd);
                return hn::Add(sum, hn::RearrangeToOddPlusEven(even, odd));
            };
            auto const lower = hn::BitCast(words, hn::IfVecThenElse(lowWord, a, hn::ShiftLeft<16>(b)));
            auto const upper = hn::BitCast(words, hn::IfVecThenElse(lowWord, hn::ShiftRight<16>(a), b));
            sum0 = add(sum0, hn::And(lower, lowBytes));
            sum1 = add(sum1, hn::ShiftRight<8>(lower));
            sum2 = add(sum2, hn::And(upper, lowBytes));
            sum3 = add(sum3, hn::ShiftRight<8>(upper));
        }
        // The byte above the fraction goes to where it belongs in one shift; what is beside it is cut off.
        auto const saturate = [&](auto sum) HWY_ATTR {
            auto const largest = hn::Set(sums, (256 << mix.bits) - 1);
            return hn::BitCast(bits, hn::Min(hn::Max(sum, hn::Zero(sums)), largest));
        };
        auto const s0 = hn::ShiftRightSame(saturate(sum0), mix.bits);
        auto const s1 = hn::ShiftRightSame(saturate(sum1), mix.bits - 8);
        auto const s2 = hn::ShiftLeftSame(saturate(sum2), 16 - mix.bits);
        auto const s3 = hn::ShiftLeftSame(saturate(sum3), 24 - mix.bits);
        auto const low = hn::IfVecThenElse(hn::Set(bits, 0xFF), s0, s1);
        auto const high = hn::IfVecThenElse(hn::Set(bits, 0xFF0000), s2, s3);
        return hn::BitCast(d, hn::IfVecThenElse(lowWord, low, high));
    }
};

struct MixS16 {
    using Sample = std::int16_t;

    template <class D>
    static HWY_INLINE hn::Vec<D> Sum(D d, Mix const& mix, std::size_t i) {
        constexpr hn::Repartition<float, D> sums;
        constexpr hn::Repartition<std::int32_t, D> ints;
        auto even = hn::Zero(sums);
        auto odd = hn::Zero(sums);
        for (MixedSamples const& source : mix.sources) {
            auto const volume = hn::Set(sums, static_cast<float>(source.volume));
            auto const s = hn::BitCast(ints, LoadSource(d, source, i));
            auto const add = [&](auto sum, auto lane) HWY_ATTR {
                return hn::Add(sum, hn::Mul(hn::ConvertTo(sums, hn::ShiftRight<16>(lane)), volume));
            };
            even = add(even, hn::ShiftLeft<16>(s));
            odd = add(odd, s);
        }
        auto const low = hn::Set(hn::Repartition<std::uint32_t, D>(), 0xFFFF);
        return hn::BitCast(d, hn::IfVecThenElse(low, Round(sums, even), hn::ShiftLeft<16>(Round(sums, odd))));
    }

private:
    /// Saturated and rounded to the nearest. The integer is in the lowest bits of the lane: the last bit of
    /// floats from 2^23 on counts ones.
    template <class F>
    static HWY_INLINE hn::Vec<hn::RebindToUnsigned<F>> Round(F d, hn::Vec<F> sum) {
        sum = hn::Min(hn::Max(sum, hn::Set(d, -32768)), hn::Set(d, 32767));
        return hn::BitCast(hn::RebindToUnsigned<F>(), hn::Add(sum, hn::Set(d, 12582912 /* 1.5 * 2^23 */)));
    }
};

/// 32-bit integers and floats.
template <class T>
struct MixInDouble {
    using Sample = T;

    template <class D>
    static HWY_INLINE hn::Vec<D> Sum(D d, Mix const& mix, std::size_t i) {
        constexpr hn::Half<D> half;
        constexpr hn::Repartition<double, D> sums;
        auto lower = hn::Zero(sums);
        auto upper = hn::Zero(sums);
        for (MixedSamples const& source : mix.sources) {
            auto const volume = hn::Set(sums, source.volume);
            auto const s = LoadSource(d, source, i);
            lower = hn::Add(lower, hn::Mul(hn::PromoteTo(sums, hn::LowerHalf(half, s)), volume));
            upper = hn::Add(upper, hn::Mul(hn::PromoteTo(sums, hn::UpperHalf(half, s)), volume));
        }
        if constexpr (std::is_same_v<T, float>)
            return Clip(d, hn::Combine(d, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower)));
        else // which saturates
            return hn::Combine(d, hn::DemoteTo(half, hn::Round(upper)), hn::DemoteTo(half, hn::Round(lower)));
    }
};

struct MixDouble {
    using Sample = double;

    template <class D>
    static HWY_INLINE hn::Vec<D> Sum(D d, Mix const& mix, std::size_t i) {
        auto sum = hn::Zero(d);
        for (MixedSamples const& source : mix.sources)
            sum = hn::Add(sum, hn::Mul(LoadSource(d, source, i), hn::Set(d, source.volume)));
        return Clip(d, sum);
    }
};

template <class Kind>
void SumSamplesOf(std::uint8_t* dst, std::size_t first, std::size_t count, Mix const& mix) {
    using Sample = typename Kind::Sample;
    constexpr hn::ScalableTag<Sample> d;
    std::size_t const lanes = hn::Lanes(d);
    for (std::size_t i = 0; i < count; i += lanes)
        StoreSamples(Kind::Sum(d, mix, first + i), d, dst + i * sizeof(Sample), count - i);
}

void SumSamplesOfAny(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                     Mix const& mix) {
    switch (type) {
    case SampleType::U8:
        return SumSamplesOf<MixU8>(dst, first, count, mix);
    case SampleType::S16:
        return SumSamplesOf<MixS16>(dst, first, count, mix);
    case SampleType::S32:
        return SumSamplesOf<MixInDouble<std::int32_t>>(dst, first, count, mix);
    case SampleType::Float:
        return SumSamplesOf<MixInDouble<float>>(dst, first, count, mix);
    case SampleType::Double:
        return SumSamplesOf<MixDouble>(dst, first, count, mix);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

namespace {

double Limit(double volume, double limit) {
    return std::isnan(volume) ? 0.0 : std::clamp(volume, -limit, limit);
}

} // namespace

Mix::Mix(std::vector<double> const& volumes) {
    constexpr double largestFactor = 32767;
    // Times 255, and with the offset, still within 32 bits.
    constexpr double largestSum = 0x1p23;
    double const limit = std::min(127.0, 0x1p15 / static_cast<double>(volumes.size()));
    double largest = 0;
    double sum = 0;
    for (double const volume : volumes) {
        double const size = std::abs(Limit(volume, limit));
        largest = std::max(largest, size);
        sum += size;
    }
    while (std::ldexp(largest, bits) > largestFactor || std::ldexp(sum, bits) > largestSum)
        --bits;
    offset = (128 << bits) + (1 << (bits - 1));
    for (double const volume : volumes) {
        auto const factor = static_cast<std::int16_t>(std::nearbyint(std::ldexp(Limit(volume, limit), bits)));
        auto const low = static_cast<std::uint16_t>(factor);
        if (!sources.empty())
            sources.back().factors |= std::uint32_t{low} << 16;
        sources.push_back({nullptr, 0, Limit(volume, 0x1p64), low});
        offset -= 128 * factor;
    }
}

HWY_EXPORT(SumSamplesOfAny);

void SumSamples(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                Mix const& mix) noexcept {
    HWY_DYNAMIC_DISPATCH(SumSamplesOfAny)(type, dst, first, count, mix);
}

} // namespace Tarsel::Proc
#endif
