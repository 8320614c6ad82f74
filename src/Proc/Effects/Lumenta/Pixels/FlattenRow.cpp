#include "Proc/Effects/Lumenta/Pixels/FlattenRow.h"

#include <cstring>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/FlattenRow.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

void FlattenPixel(std::uint8_t* pixel, Conf::PixColor background) {
    unsigned const a = pixel[3];
    unsigned const behind[] = {background.red, background.green, background.blue};
    for (unsigned const k : behind) {
        // Halves do not occur: 255 is odd.
        *pixel = static_cast<std::uint8_t>(((255 - a) * k + a * *pixel + 127) / 255);
        ++pixel;
    }
}

#if HWY_TARGET == HWY_SCALAR

std::size_t FlattenVectors(std::uint8_t* /*pixels*/, std::size_t /*width*/, Conf::PixColor /*background*/) {
    return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using PixelTag = hn::ScalableTag<std::uint32_t>;
using WordTag = hn::Repartition<std::uint16_t, PixelTag>;
using Words = hn::Vec<WordTag>;

/// (255 k + a (c - k)) / 255 to the nearest. Division: with v = sum + 128, (v + (v >> 8)) >> 8 is right for
/// every sum up to 255 * 255, and nothing exceeds 16 bits.
HWY_INLINE Words Flatten(Words c, Words k, Words alpha) {
    constexpr WordTag words;
    Words const sum = hn::Add(hn::Mul(k, hn::Set(words, 255)), hn::Mul(alpha, hn::Sub(c, k)));
    Words const v = hn::Add(sum, hn::Set(words, 128));
    return hn::ShiftRight<8>(hn::Add(v, hn::ShiftRight<8>(v)));
}

/// Whole vectors from the row's start; returns how many pixels that were.
std::size_t FlattenVectors(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) {
    constexpr PixelTag wide;
    constexpr WordTag words;
    constexpr hn::Repartition<std::uint8_t, PixelTag> bytes;
    std::size_t const lanes = hn::Lanes(wide);
    auto const alphaBits = hn::Set(wide, 0xFF000000u);
    Words const low = hn::Set(words, 0xFF);
    // Even bytes of a pixel are red and blue; odd ones green and alpha.
    Words const kEven =
        hn::BitCast(words, hn::Set(wide, background.red | std::uint32_t{background.blue} << 16));
    Words const kOdd = hn::BitCast(words, hn::Set(wide, std::uint32_t{background.green}));
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        auto const old = hn::BitCast(wide, hn::LoadU(bytes, pixels + 4 * x));
        auto const oldAlpha = hn::And(old, alphaBits);
        if (hn::AllTrue(wide, hn::Eq(oldAlpha, alphaBits)))
            continue;
        auto const alphaWord = hn::ShiftRight<24>(old);
        Words const alpha = hn::BitCast(words, hn::Or(alphaWord, hn::ShiftLeft<16>(alphaWord)));
        Words const c = hn::BitCast(words, old);
        Words const even = Flatten(hn::And(c, low), kEven, alpha);
        Words const odd = hn::ShiftLeft<8>(Flatten(hn::ShiftRight<8>(c), kOdd, alpha));
        auto const flat = hn::AndNot(alphaBits, hn::BitCast(wide, hn::Or(even, odd)));
        hn::StoreU(hn::BitCast(bytes, hn::Or(flat, oldAlpha)), bytes, pixels + 4 * x);
    }
    return x;
}

#endif

void FlattenWholeRow(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) {
    for (std::size_t x = FlattenVectors(pixels, width, background); x < width; ++x)
        FlattenPixel(pixels + 4 * x, background);
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(FlattenWholeRow);

void FlattenRow(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) noexcept {
    HWY_DYNAMIC_DISPATCH(FlattenWholeRow)(pixels, width, background);
}

} // namespace Tarsel::Proc
#endif
