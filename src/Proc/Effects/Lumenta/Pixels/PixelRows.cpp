#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"

#include <bit>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/PixelRows.cpp"
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

std::size_t CodeVectors(std::uint8_t const* /*pixels*/, std::size_t /*width*/, ColorCode* /*codes*/) {
    return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

static_assert(std::endian::native == std::endian::little, "red is the lowest byte of a pixel");

using PixelTag = hn::ScalableTag<std::uint32_t>;
using WordTag = hn::Repartition<std::uint16_t, PixelTag>;
using ByteTag = hn::Repartition<std::uint8_t, PixelTag>;
using Pixels = hn::Vec<PixelTag>;
using Words = hn::Vec<WordTag>;

HWY_INLINE Pixels LoadPixels(std::uint8_t const* pixels) {
    return hn::BitCast(PixelTag(), hn::LoadU(ByteTag(), pixels));
}

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
    constexpr ByteTag bytes;
    std::size_t const lanes = hn::Lanes(wide);
    Pixels const alphaBits = hn::Set(wide, 0xFF000000u);
    Words const low = hn::Set(words, 0xFF);
    // Even bytes of a pixel are red and blue; odd ones green and alpha.
    Words const kEven =
        hn::BitCast(words, hn::Set(wide, background.red | std::uint32_t{background.blue} << 16));
    Words const kOdd = hn::BitCast(words, hn::Set(wide, std::uint32_t{background.green}));
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        Pixels const old = LoadPixels(pixels + 4 * x);
        Pixels const oldAlpha = hn::And(old, alphaBits);
        if (hn::AllTrue(wide, hn::Eq(oldAlpha, alphaBits)))
            continue;
        Pixels const alphaWord = hn::ShiftRight<24>(old);
        Words const alpha = hn::BitCast(words, hn::Or(alphaWord, hn::ShiftLeft<16>(alphaWord)));
        Words const c = hn::BitCast(words, old);
        Words const even = Flatten(hn::And(c, low), kEven, alpha);
        Words const odd = hn::ShiftLeft<8>(Flatten(hn::ShiftRight<8>(c), kOdd, alpha));
        Pixels const flat = hn::AndNot(alphaBits, hn::BitCast(wide, hn::Or(even, odd)));
        hn::StoreU(hn::BitCast(bytes, hn::Or(flat, oldAlpha)), bytes, pixels + 4 * x);
    }
    return x;
}

/// The bits of the lowest byte three places apart.
HWY_INLINE Pixels Spread(Pixels pixels) {
    constexpr PixelTag wide;
    Pixels bits = hn::And(pixels, hn::Set(wide, 0xFF));
    bits = hn::And(hn::Or(bits, hn::ShiftLeft<8>(bits)), hn::Set(wide, 0x00F00F));
    bits = hn::And(hn::Or(bits, hn::ShiftLeft<4>(bits)), hn::Set(wide, 0x0C30C3));
    return hn::And(hn::Or(bits, hn::ShiftLeft<2>(bits)), hn::Set(wide, 0x249249));
}

std::size_t CodeVectors(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) {
    constexpr PixelTag wide;
    std::size_t const lanes = hn::Lanes(wide);
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        Pixels const colors = LoadPixels(pixels + 4 * x);
        Pixels const red = hn::ShiftLeft<s_redBit>(Spread(colors));
        Pixels const green = hn::ShiftLeft<s_greenBit>(Spread(hn::ShiftRight<8>(colors)));
        Pixels const blue = hn::ShiftLeft<s_blueBit>(Spread(hn::ShiftRight<16>(colors)));
        hn::StoreU(hn::Or(hn::Or(red, green), blue), wide, codes + x);
    }
    return x;
}

#endif

void FlattenPixels(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) {
    for (std::size_t x = FlattenVectors(pixels, width, background); x < width; ++x)
        FlattenPixel(pixels + 4 * x, background);
}

void CodePixels(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) {
    for (std::size_t x = CodeVectors(pixels, width, codes); x < width; ++x)
        codes[x] = MakeColorCode({pixels[4 * x], pixels[4 * x + 1], pixels[4 * x + 2]});
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(FlattenPixels);
HWY_EXPORT(CodePixels);

void FlattenRow(std::uint8_t* pixels, std::size_t width, Conf::PixColor background) noexcept {
    HWY_DYNAMIC_DISPATCH(FlattenPixels)(pixels, width, background);
}

void MakeColorCodes(std::uint8_t const* pixels, std::size_t width, ColorCode* codes) noexcept {
    HWY_DYNAMIC_DISPATCH(CodePixels)(pixels, width, codes);
}

} // namespace Tarsel::Proc
#endif
