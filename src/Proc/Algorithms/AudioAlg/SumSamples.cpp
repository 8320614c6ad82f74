#include "Proc/Algorithms/AudioAlg/SumSamples.h"

#include "Core/Saturate.h"

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

using Sources = std::span<MixedSamples const>;

/// sum + sample * volume for every source that goes as far as sample number `i`.
template <class T, class Sum>
Sum SumOne(Sources sources, std::size_t i, int silence) {
    Sum sum = 0;
    for (MixedSamples const& source : sources)
        if (i < source.count) {
            T const sample = ReadSample<T>(source.samples + i * sizeof(T));
            sum += static_cast<Sum>(sample - static_cast<T>(silence)) * static_cast<Sum>(source.volume);
        }
    return sum;
}

#if HWY_TARGET != HWY_SCALAR

/// Clamped to the limits of Int and rounded to the nearest. The integer is in the lowest bits of the lane:
/// the last bit of floats from 2^23 on counts ones.
template <class Int, class D>
HWY_INLINE auto RoundToBits(D d, hn::Vec<D> sum) {
    using Limits = std::numeric_limits<Int>;
    sum = hn::Max(sum, hn::Set(d, static_cast<float>(Limits::min())));
    sum = hn::Min(sum, hn::Set(d, static_cast<float>(Limits::max())));
    return hn::BitCast(hn::RebindToUnsigned<D>(), hn::Add(sum, hn::Set(d, 12582912.0F /* 1.5 * 2^23 */)));
}

#endif

// For each type of sample: `One` result, and a vector of them. Samples that are narrower than their sums are
// taken out of lanes of the sums' width by shifts, and are put back in the same way.

struct MixU8 {
    using Sample = std::uint8_t;

    static Sample One(Sources sources, std::size_t i) {
        float const sum = SumOne<Sample, float>(sources, i, 128);
        return static_cast<Sample>(Core::Saturate<std::int8_t>(std::nearbyint(sum)) + 128);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, Sources sources, std::size_t i) {
        constexpr hn::Repartition<float, D> sums;
        constexpr hn::Repartition<std::int32_t, D> ints;
        constexpr hn::Repartition<std::uint32_t, D> bits;
        auto const centre = hn::Set(d, 128);
        auto sum0 = hn::Zero(sums);
        auto sum1 = hn::Zero(sums);
        auto sum2 = hn::Zero(sums);
        auto sum3 = hn::Zero(sums);
        for (MixedSamples const& source : sources) {
            if (i >= source.count)
                continue;
            auto const volume = hn::Set(sums, static_cast<float>(source.volume));
            auto const s = hn::BitCast(ints, hn::Xor(LoadSamples(d, source.samples + i), centre));
            auto const add = [&](auto sum, auto lane) HWY_ATTR {
                return hn::Add(sum, hn::Mul(hn::ConvertTo(sums, hn::ShiftRight<24>(lane)), volume));
            };
            sum0 = add(sum0, hn::ShiftLeft<24>(s));
            sum1 = add(sum1, hn::ShiftLeft<16>(s));
            sum2 = add(sum2, hn::ShiftLeft<8>(s));
            sum3 = add(sum3, s);
        }
        auto const low = hn::Set(bits, 0xFF);
        auto const s0 = RoundToBits<std::int8_t>(sums, sum0);
        auto const s1 = hn::ShiftLeft<8>(RoundToBits<std::int8_t>(sums, sum1));
        auto const s2 = RoundToBits<std::int8_t>(sums, sum2);
        auto const s3 = hn::ShiftLeft<8>(RoundToBits<std::int8_t>(sums, sum3));
        auto const lower = hn::IfVecThenElse(low, s0, s1);
        auto const upper = hn::ShiftLeft<16>(hn::IfVecThenElse(low, s2, s3));
        auto const all = hn::IfVecThenElse(hn::Set(bits, 0xFFFF), lower, upper);
        return hn::Xor(hn::BitCast(d, all), centre);
    }
#endif
};

struct MixS16 {
    using Sample = std::int16_t;

    static Sample One(Sources sources, std::size_t i) {
        return Core::Saturate<Sample>(std::nearbyint(SumOne<Sample, float>(sources, i, 0)));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, Sources sources, std::size_t i) {
        constexpr hn::Repartition<float, D> sums;
        constexpr hn::Repartition<std::int32_t, D> ints;
        auto even = hn::Zero(sums);
        auto odd = hn::Zero(sums);
        for (MixedSamples const& source : sources) {
            if (i >= source.count)
                continue;
            auto const volume = hn::Set(sums, static_cast<float>(source.volume));
            auto const s = hn::BitCast(ints, LoadSamples(d, source.samples + i * sizeof(Sample)));
            auto const add = [&](auto sum, auto lane) HWY_ATTR {
                return hn::Add(sum, hn::Mul(hn::ConvertTo(sums, hn::ShiftRight<16>(lane)), volume));
            };
            even = add(even, hn::ShiftLeft<16>(s));
            odd = add(odd, s);
        }
        auto const low = hn::Set(hn::Repartition<std::uint32_t, D>(), 0xFFFF);
        auto const s0 = RoundToBits<Sample>(sums, even);
        auto const s1 = hn::ShiftLeft<16>(RoundToBits<Sample>(sums, odd));
        return hn::BitCast(d, hn::IfVecThenElse(low, s0, s1));
    }
#endif
};

/// 32-bit integers and floats.
template <class T>
struct MixInDouble {
    using Sample = T;

    static Sample One(Sources sources, std::size_t i) {
        double const sum = SumOne<Sample, double>(sources, i, 0);
        if constexpr (std::is_same_v<T, float>)
            return static_cast<Sample>(ClipOne(sum));
        else
            return Core::Saturate<Sample>(std::nearbyint(sum));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, Sources sources, std::size_t i) {
        constexpr hn::Half<D> half;
        constexpr hn::Repartition<double, D> sums;
        auto lower = hn::Zero(sums);
        auto upper = hn::Zero(sums);
        for (MixedSamples const& source : sources) {
            if (i >= source.count)
                continue;
            auto const volume = hn::Set(sums, source.volume);
            auto const s = LoadSamples(d, source.samples + i * sizeof(Sample));
            lower = hn::Add(lower, hn::Mul(hn::PromoteTo(sums, hn::LowerHalf(half, s)), volume));
            upper = hn::Add(upper, hn::Mul(hn::PromoteTo(sums, hn::UpperHalf(half, s)), volume));
        }
        if constexpr (std::is_same_v<T, float>)
            return ClipMany(d, hn::Combine(d, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower)));
        else // which saturates
            return hn::Combine(d, hn::DemoteTo(half, hn::Round(upper)), hn::DemoteTo(half, hn::Round(lower)));
    }
#endif
};

struct MixDouble {
    using Sample = double;

    static Sample One(Sources sources, std::size_t i) {
        return ClipOne(SumOne<Sample, double>(sources, i, 0));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, Sources sources, std::size_t i) {
        auto sum = hn::Zero(d);
        for (MixedSamples const& source : sources) {
            if (i >= source.count)
                continue;
            auto const s = LoadSamples(d, source.samples + i * sizeof(Sample));
            sum = hn::Add(sum, hn::Mul(s, hn::Set(d, source.volume)));
        }
        return ClipMany(d, sum);
    }
#endif
};

template <class Mix>
void SumSamplesOf(std::uint8_t* dst, std::size_t first, std::size_t count, Sources sources) {
    using Sample = typename Mix::Sample;
    std::size_t const last = first + count;
    for (std::size_t i = first; i < last;) {
        // Vectors up to where the next source ends.
        std::size_t end = last;
        for (MixedSamples const& source : sources)
            if (i < source.count)
                end = std::min(end, source.count);
#if HWY_TARGET != HWY_SCALAR
        constexpr hn::ScalableTag<Sample> d;
        for (std::size_t const lanes = hn::Lanes(d); i + lanes <= end; i += lanes)
            StoreSamples(Mix::Many(d, sources, i), d, dst + (i - first) * sizeof(Sample));
#endif
        for (; i < end; ++i)
            WriteSample(dst + (i - first) * sizeof(Sample), Mix::One(sources, i));
    }
}

void SumSamplesOfAny(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                     std::span<MixedSamples const> sources) {
    switch (type) {
    case SampleType::U8:
        return SumSamplesOf<MixU8>(dst, first, count, sources);
    case SampleType::S16:
        return SumSamplesOf<MixS16>(dst, first, count, sources);
    case SampleType::S32:
        return SumSamplesOf<MixInDouble<std::int32_t>>(dst, first, count, sources);
    case SampleType::Float:
        return SumSamplesOf<MixInDouble<float>>(dst, first, count, sources);
    case SampleType::Double:
        return SumSamplesOf<MixDouble>(dst, first, count, sources);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(SumSamplesOfAny);

void SumSamples(SampleType type, std::uint8_t* dst, std::size_t first, std::size_t count,
                std::span<MixedSamples const> sources) noexcept {
    HWY_DYNAMIC_DISPATCH(SumSamplesOfAny)(type, dst, first, count, sources);
}

} // namespace Tarsel::Proc
#endif
