#include "Proc/Algorithms/AudioAlg/ScaleSamples.h"

#include "Core/Saturate.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Algorithms/AudioAlg/ScaleSamples.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Algorithms/AudioAlg/SampleVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

// With F = 256 h + l, 0 <= l < 256: (s F + 128) >> 8 = s h + ((s l + 128) >> 8), exactly. Halved in this way
// the products fit lanes of twice the sample, of the sample itself for u8.

template <class Int>
constexpr Int HighOf(Int factor) {
    return factor >> 8;
}

template <class Int>
constexpr Int LowOf(Int factor) {
    return factor & 255;
}

class ScaleU8 {
public:
    using Sample = std::uint8_t;

    explicit ScaleU8(std::int32_t factor)
        : m_high(static_cast<std::int16_t>(HighOf(factor))), m_low(static_cast<std::int16_t>(LowOf(factor))) {
    }

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> s) const {
        constexpr hn::RepartitionToWide<hn::RebindToSigned<D>> words;
        auto const center = hn::Set(d, 128);
        auto const x = hn::BitCast(words, hn::Xor(s, center));
        auto const even = Scale(words, hn::ShiftRight<8>(hn::ShiftLeft<8>(x)));
        auto const odd = Scale(words, hn::ShiftRight<8>(x));
        auto const both = hn::IfVecThenElse(hn::Set(words, 0xFF), even, hn::ShiftLeft<8>(odd));
        return hn::Xor(hn::BitCast(d, both), center);
    }

private:
    template <class W>
    HWY_INLINE hn::Vec<W> Scale(W words, hn::Vec<W> x) const {
        auto const low = hn::Add(hn::Mul(x, hn::Set(words, m_low)), hn::Set(words, 128));
        auto const q = hn::Add(hn::Mul(x, hn::Set(words, m_high)), hn::ShiftRight<8>(low));
        return hn::Max(hn::Min(q, hn::Set(words, 127)), hn::Set(words, -128));
    }

    std::int16_t m_high;
    std::int16_t m_low;
};

class ScaleS16 {
public:
    using Sample = std::int16_t;

    /// Beyond these limits every sample but 0 saturates, as it does with them.
    explicit ScaleS16(std::int32_t factor) : m_factor(std::clamp(factor, -0x800000, 0x7FFFFF)) {}

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> s) const {
        constexpr hn::RepartitionToWide<D> wide;
        auto const x = hn::BitCast(wide, s);
        auto const even = Scale(wide, hn::ShiftRight<16>(hn::ShiftLeft<16>(x)));
        auto const odd = Scale(wide, hn::ShiftRight<16>(x));
        return hn::BitCast(d, hn::IfVecThenElse(hn::Set(wide, 0xFFFF), even, hn::ShiftLeft<16>(odd)));
    }

private:
    template <class W>
    HWY_INLINE hn::Vec<W> Scale(W wide, hn::Vec<W> x) const {
        auto const low = hn::Add(hn::Mul(x, hn::Set(wide, LowOf(m_factor))), hn::Set(wide, 128));
        auto const q = hn::Add(hn::Mul(x, hn::Set(wide, HighOf(m_factor))), hn::ShiftRight<8>(low));
        return hn::Max(hn::Min(q, hn::Set(wide, 0x7FFF)), hn::Set(wide, -0x8000));
    }

    std::int32_t m_factor;
};

class ScaleS32 {
public:
    using Sample = std::int32_t;

    /// Beyond these limits every sample but 0 saturates, as it does with them.
    explicit ScaleS32(std::int64_t factor)
        : m_factor(std::clamp<std::int64_t>(factor, -0x80'0000'0000, 0x7F'FFFF'FFFF)) {}

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> s) const {
        constexpr hn::RepartitionToWide<D> wide;
        constexpr hn::RebindToUnsigned<decltype(wide)> bits;
        auto const even = Scale(d, s);
        auto const odd = Scale(d, hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(bits, s))));
        return hn::OddEven(hn::BitCast(d, hn::ShiftLeft<32>(odd)), hn::BitCast(d, even));
    }

private:
    template <class D>
    HWY_INLINE hn::Vec<hn::RepartitionToWide<D>> Scale(D d, hn::Vec<D> x) const {
        constexpr hn::RepartitionToWide<D> wide;
        auto const high = hn::Set(d, static_cast<std::int32_t>(HighOf(m_factor)));
        auto const low = hn::Set(d, static_cast<std::int32_t>(LowOf(m_factor)));
        auto const q = hn::Add(hn::MulEven(x, high),
                               hn::ShiftRight<8>(hn::Add(hn::MulEven(x, low), hn::Set(wide, 128))));
        using Limits = std::numeric_limits<Sample>;
        return hn::Max(hn::Min(q, hn::Set(wide, Limits::max())), hn::Set(wide, Limits::min()));
    }

    std::int64_t m_factor;
};

class ScaleFloat {
public:
    using Sample = float;

    explicit ScaleFloat(double volume) : m_volume(volume) {}

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> s) const {
        constexpr hn::Half<D> half;
        constexpr hn::RepartitionToWide<D> wide;
        auto const volume = hn::Set(wide, m_volume);
        auto const lower = hn::DemoteTo(half, hn::Mul(hn::PromoteTo(wide, hn::LowerHalf(half, s)), volume));
        auto const upper = hn::DemoteTo(half, hn::Mul(hn::PromoteTo(wide, hn::UpperHalf(half, s)), volume));
        return Clip(d, hn::Combine(d, upper, lower));
    }

private:
    double m_volume;
};

class ScaleDouble {
public:
    using Sample = double;

    explicit ScaleDouble(double volume) : m_volume(volume) {}

    template <class D>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> s) const {
        return Clip(d, hn::Mul(s, hn::Set(d, m_volume)));
    }

private:
    double m_volume;
};

void ScaleAll(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count, double volume) {
    double const factor = std::fma(volume, 256.0, 0.5);
    switch (type) {
    case SampleType::U8:
        return TransformSamples(ScaleU8(Core::Saturate<std::int32_t>(factor)), dst, src, count);
    case SampleType::S16:
        return TransformSamples(ScaleS16(Core::Saturate<std::int32_t>(factor)), dst, src, count);
    case SampleType::S32:
        return TransformSamples(ScaleS32(Core::Saturate<std::int64_t>(factor)), dst, src, count);
    case SampleType::Float:
        return TransformSamples(ScaleFloat(volume), dst, src, count);
    case SampleType::Double:
        return TransformSamples(ScaleDouble(volume), dst, src, count);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(ScaleAll);

void ScaleSamples(SampleType type, std::uint8_t* dst, std::uint8_t const* src, std::size_t count,
                  double volume) noexcept {
    HWY_DYNAMIC_DISPATCH(ScaleAll)(type, dst, src, count, volume);
}

} // namespace Tarsel::Proc
#endif
