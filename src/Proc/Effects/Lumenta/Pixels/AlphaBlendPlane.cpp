#include "Proc/Effects/Lumenta/Pixels/AlphaBlendPlane.h"

#include <cstring>
#include <functional>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/AlphaBlendPlane.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

using Background = std::span<std::uint8_t const>;

/// One pixel after the other, for rows that overlap their alpha: a pixel may change the alpha of the next.
void BlendRowByPixel(std::uint8_t* pixels, std::uint8_t const* alpha, std::size_t width,
                     Background background) {
    for (std::size_t x = 0; x < width; ++x) {
        unsigned const a = alpha[x];
        for (unsigned const k : background) {
            *pixels = static_cast<std::uint8_t>((*pixels * (a + 1) + (255 - a) * k) >> 8);
            ++pixels;
        }
    }
}

void BlendRowsByPixel(BlendedPlane const& plane, Background background) {
    for (std::size_t y = 0; y < plane.height; ++y) {
        auto const row = static_cast<std::ptrdiff_t>(y);
        BlendRowByPixel(plane.pixels + row * plane.stride, plane.alpha + row * plane.alphaStride, plane.width,
                        background);
    }
}

#if HWY_TARGET == HWY_SCALAR

void BlendRows(BlendedPlane const& plane, Background background) {
    BlendRowsByPixel(plane, background);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t s_maxLanes = 64;
constexpr std::size_t s_block = 16;

using ByteTag = hn::CappedTag<std::uint8_t, s_maxLanes>;
using WordTag = hn::RepartitionToWide<ByteTag>;
using LaneTag = hn::Repartition<std::uint32_t, ByteTag>;
using Bytes = hn::Vec<ByteTag>;
using Words = hn::Vec<WordTag>;

/// A group is as many pixels as a vector has bytes: one vector of alpha and N vectors of components. This
/// blends groups, with what it needs for each of the N vectors made beforehand.
template <std::size_t N>
class GroupBlender {
public:
    explicit GroupBlender(Background background) {
        for (std::size_t i = 0; i < N * hn::Lanes(ByteTag()); ++i) {
            m_background[i] = background[i % N];
            if constexpr (N > 1) {
                // Lookups stay within blocks of 16 bytes, so every block first gets the 16 alphas of which it
                // needs some; 0x80 looks up a zero.
                m_alphaLanes[i / 4] =
                    static_cast<std::uint32_t>(i / s_block / N * (s_block / 4) + i / 4 % (s_block / 4));
                // The upper byte of a word is for its even component, the lower one for the odd.
                m_evenAlpha[i] = i % 2 == 0 ? 0x80 : AlphaOf(i - 1);
                m_oddAlpha[i] = i % 2 == 0 ? AlphaOf(i + 1) : 0x80;
            }
        }
    }

    /// All pixels of a row that overlaps no alpha.
    void BlendRow(std::uint8_t* pixels, std::uint8_t const* alpha, std::size_t width) const {
        std::size_t const lanes = hn::Lanes(ByteTag());
        std::size_t x = 0;
        for (; x + lanes <= width; x += lanes)
            BlendGroup(pixels + N * x, alpha + x);
        if (std::size_t const rest = width - x; rest != 0) {
            HWY_ALIGN std::uint8_t restPixels[N * s_maxLanes] = {};
            HWY_ALIGN std::uint8_t restAlpha[s_maxLanes] = {};
            std::memcpy(restPixels, pixels + N * x, N * rest);
            std::memcpy(restAlpha, alpha + x, rest);
            BlendGroup(restPixels, restAlpha);
            std::memcpy(pixels + N * x, restPixels, N * rest);
        }
    }

private:
    /// Where in its block the alpha of a component is.
    static std::uint8_t AlphaOf(std::size_t component) {
        return static_cast<std::uint8_t>(component % (N * s_block) / N);
    }

    HWY_INLINE void BlendGroup(std::uint8_t* pixels, std::uint8_t const* alpha) const {
        constexpr ByteTag bytes;
        constexpr WordTag words;
        Bytes const transparency = hn::Not(hn::LoadU(bytes, alpha));
        // Most pictures are opaque for the most part. A look at eight alphas costs next to nothing where they
        // are not.
        std::uint64_t first = 0;
        std::memcpy(&first, alpha, sizeof first);
        if (first == ~std::uint64_t{0} && hn::AllTrue(bytes, hn::Eq(transparency, hn::Zero(bytes))))
            return;
        if constexpr (N == 1) {
            Words const both = hn::BitCast(words, transparency);
            BlendVector<0>(pixels, hn::ShiftLeft<8>(both), hn::ShiftRight<8>(both));
        } else {
            BlendVectors<0>(pixels, transparency);
        }
    }

    template <std::size_t I>
    HWY_INLINE void BlendVectors(std::uint8_t* pixels, Bytes transparency) const {
        constexpr ByteTag bytes;
        constexpr WordTag words;
        std::size_t const lanes = hn::Lanes(bytes);
        Bytes near = transparency;
        if constexpr (hn::MaxLanes(bytes) > s_block) {
            constexpr LaneTag wide;
            near = hn::BitCast(bytes,
                               hn::TableLookupLanes(hn::BitCast(wide, transparency),
                                                    hn::SetTableIndices(wide, m_alphaLanes + I * lanes / 4)));
        }
        auto const look = [&](std::uint8_t const* from) HWY_ATTR {
            return hn::BitCast(words, hn::TableLookupBytesOr0(near, hn::Load(bytes, from + I * lanes)));
        };
        Words const even = look(m_evenAlpha);
        if constexpr (N % 2 == 0) // Both bytes of a word belong to one pixel.
            BlendVector<I>(pixels, even, hn::ShiftRight<8>(even));
        else
            BlendVector<I>(pixels, even, look(m_oddAlpha));
        if constexpr (I + 1 < N)
            BlendVectors<I + 1>(pixels, transparency);
    }

    /// The formula as c + ((k - c) (255 - a) >> 8), of which modulo 2^8 the sum is right. Even and odd bytes
    /// each have their 16-bit lanes; for the even ones the transparency 255 - a is in the upper byte of its
    /// lane, so that the upper half of the product is the shifted one.
    template <std::size_t I>
    HWY_INLINE void BlendVector(std::uint8_t* pixels, Words evenTransparency, Words oddTransparency) const {
        constexpr ByteTag bytes;
        constexpr WordTag words;
        std::size_t const at = I * hn::Lanes(bytes);
        Bytes const components = hn::LoadU(bytes, pixels + at);
        Words const c = hn::BitCast(words, components);
        Words const k = hn::BitCast(words, hn::Load(bytes, m_background + at));
        Words const low = hn::Set(words, 0xFF);
        Words const even = hn::MulHigh(hn::Sub(hn::And(k, low), hn::And(c, low)), evenTransparency);
        Words const odd = hn::Mul(hn::Sub(hn::ShiftRight<8>(k), hn::ShiftRight<8>(c)), oddTransparency);
        Words const change = hn::IfVecThenElse(low, even, odd);
        hn::StoreU(hn::Add(components, hn::BitCast(bytes, change)), bytes, pixels + at);
    }

    HWY_ALIGN std::uint8_t m_evenAlpha[N * s_maxLanes];
    HWY_ALIGN std::uint8_t m_oddAlpha[N * s_maxLanes];
    HWY_ALIGN std::uint8_t m_background[N * s_maxLanes];
    HWY_ALIGN std::uint32_t m_alphaLanes[N * s_maxLanes / 4];
};

bool Overlap(std::uint8_t const* a, std::size_t sizeA, std::uint8_t const* b, std::size_t sizeB) {
    std::less<> const before;
    return before(a, b + sizeB) && before(b, a + sizeA);
}

template <std::size_t N>
void BlendRowsOf(BlendedPlane const& plane, Background background) {
    GroupBlender<N> const blender(background);
    for (std::size_t y = 0; y < plane.height; ++y) {
        std::uint8_t* const pixels = plane.pixels + static_cast<std::ptrdiff_t>(y) * plane.stride;
        std::uint8_t const* const alpha = plane.alpha + static_cast<std::ptrdiff_t>(y) * plane.alphaStride;
        if (Overlap(pixels, N * plane.width, alpha, plane.width))
            BlendRowByPixel(pixels, alpha, plane.width, background);
        else
            blender.BlendRow(pixels, alpha, plane.width);
    }
}

void BlendRows(BlendedPlane const& plane, Background background) {
    constexpr std::size_t shortRow = 16; // Shorter ones are not worth a whole vector.
    if (plane.width < shortRow)
        return BlendRowsByPixel(plane, background);
    switch (background.size()) {
    case 1:
        return BlendRowsOf<1>(plane, background);
    case 2:
        return BlendRowsOf<2>(plane, background);
    case 3:
        return BlendRowsOf<3>(plane, background);
    default:
        return BlendRowsOf<4>(plane, background);
    }
}

#endif

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(BlendRows);

void BlendPlane(BlendedPlane const& plane, std::span<std::uint8_t const> background) noexcept {
    HWY_DYNAMIC_DISPATCH(BlendRows)(plane, background);
}

} // namespace Tarsel::Proc
#endif
