// Luma of limited range stretched to the full range, compiled for every instruction set: included after
// hwy/foreach_target.h, and once for each inclusion of the file that uses it.
#include <hwy/highway.h>

#include <cstdint>

#if defined(TARSEL_PROC_STRETCH_LUMA_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TARSEL_PROC_STRETCH_LUMA_INL_H
#undef TARSEL_PROC_STRETCH_LUMA_INL_H
#else
#define TARSEL_PROC_STRETCH_LUMA_INL_H
#endif

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr unsigned s_black = 16;
constexpr unsigned s_white = 235;

/// With v = y - 16: v + (36 v) / 219, rounded half up; the division by 438 as a multiplication.
constexpr unsigned s_excess = 72;
constexpr unsigned s_half = 219;
constexpr unsigned s_reciprocal = 38304; // 2^24 / 438, rounded up.
constexpr int s_reciprocalShift = 8;     // Behind the upper half of a 16x16-bit product.

constexpr std::uint8_t StretchOne(std::uint8_t y) {
    unsigned const v = (y < s_black ? s_black : y > s_white ? s_white : y) - s_black;
    return static_cast<std::uint8_t>(v +
                                     (((s_excess * v + s_half) * s_reciprocal >> 16) >> s_reciprocalShift));
}

constexpr bool IsStretchExact() {
    for (unsigned v = 0; v <= s_white - s_black; ++v)
        if (StretchOne(static_cast<std::uint8_t>(v + s_black)) != (510 * v + 219) / 438)
            return false;
    return true;
}
static_assert(IsStretchExact());

#if HWY_TARGET != HWY_SCALAR

template <class D> // of bytes
HWY_INLINE hn::Vec<D> StretchMany(D d, hn::Vec<D> luma) {
    constexpr hn::RepartitionToWide<D> words;
    auto const v = hn::Min(hn::SaturatedSub(luma, hn::Set(d, s_black)), hn::Set(d, s_white - s_black));
    auto const excess = [&](hn::Vec<decltype(words)> x) HWY_ATTR {
        auto const scaled = hn::Add(hn::Mul(x, hn::Set(words, s_excess)), hn::Set(words, s_half));
        return hn::ShiftRight<s_reciprocalShift>(hn::MulHigh(scaled, hn::Set(words, s_reciprocal)));
    };
    auto const pairs = hn::BitCast(words, v);
    auto const even = excess(hn::And(pairs, hn::Set(words, 0xFF)));
    auto const odd = excess(hn::ShiftRight<8>(pairs));
    return hn::Add(v, hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd))));
}

#endif

} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
