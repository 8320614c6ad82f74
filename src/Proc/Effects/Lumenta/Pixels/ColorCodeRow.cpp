#include "Proc/Effects/Lumenta/Pixels/ColorCodeRow.h"

#include <bit>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/ColorCodeRow.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

std::size_t MakeVectors(std::uint8_t const* /*pixels*/, std::size_t /*width*/, ColorCode* /*codes*/) {
    return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

static_assert(std::endian::native == std::endian::little, "red is the lowest byte of a pixel");

using PixelTag = hn::ScalableTag<std::uint32_t>;
using Pixels = hn::Vec<PixelTag>;

/// The bits of the lowest byte three places apart.
HWY_INLINE Pixels Spread(Pixels pixels) {
    constexpr PixelTag wide;
    Pixels bits = hn::And(pixels, hn::Set(wide, 0xFF));
    bits = hn::And(hn::Or(bits, hn::ShiftLeft<8>(bits)), hn::Set(wide, 0x00F00F));
    bits = hn::And(hn::Or(bits, hn::ShiftLeft<4>(bits)), hn::Set(wide, 0x0C30C3));
    return hn::And(hn::Or(bits, hn::ShiftLeft<2>(bits)), hn::Set(wide, 0x249249));
}

/// Whole vectors from the row's start; returns how many pixels that were.
std::size_t MakeVectors(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) {
    constexpr PixelTag wide;
    constexpr hn::Repartition<std::uint8_t, PixelTag> bytes;
    std::size_t const lanes = hn::Lanes(wide);
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        Pixels const old = hn::BitCast(wide, hn::LoadU(bytes, pixels + 4 * x));
        Pixels const red = hn::ShiftLeft<RED_BIT>(Spread(old));
        Pixels const green = hn::ShiftLeft<GREEN_BIT>(Spread(hn::ShiftRight<8>(old)));
        Pixels const blue = hn::ShiftLeft<BLUE_BIT>(Spread(hn::ShiftRight<16>(old)));
        hn::StoreU(hn::Or(hn::Or(red, green), blue), wide, codes + x);
    }
    return x;
}

#endif

void MakeRow(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) {
    for (std::size_t x = MakeVectors(pixels, width, codes); x < width; ++x)
        codes[x] = MakeColorCode(pixels[4 * x], pixels[4 * x + 1], pixels[4 * x + 2]);
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(MakeRow);

void MakeColorCodes(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) noexcept {
    HWY_DYNAMIC_DISPATCH(MakeRow)(pixels, width, codes);
}

} // namespace Tarsel::Proc
#endif
