#include "Proc/Effects/Lumenta/Kernels/BalanceChroma.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <cstring>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Kernels/BalanceChroma.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#ifndef TARSEL_PROC_BALANCE_CHROMA_LAYOUT
#define TARSEL_PROC_BALANCE_CHROMA_LAYOUT
namespace Tarsel::Proc {
namespace {

/// Where in a pixel its components lie.
struct PackedRgb {
    Conf::PixFmt format;
    std::size_t bytes;
    std::array<std::size_t, 3> places;
};
constexpr PackedRgb s_packedRgb[]{
    {Conf::PixFmt::RGB24, 3, {0, 1, 2}}, {Conf::PixFmt::BGR24, 3, {2, 1, 0}},
    {Conf::PixFmt::ARGB, 4, {1, 2, 3}},  {Conf::PixFmt::RGBA, 4, {0, 1, 2}},
    {Conf::PixFmt::ABGR, 4, {3, 2, 1}},  {Conf::PixFmt::BGRA, 4, {2, 1, 0}},
    {Conf::PixFmt::ZRGB, 4, {1, 2, 3}},  {Conf::PixFmt::RGBZ, 4, {0, 1, 2}},
    {Conf::PixFmt::ZBGR, 4, {3, 2, 1}},  {Conf::PixFmt::BGRZ, 4, {2, 1, 0}},
};

/// Planes of planar RGB: green, blue, red.
constexpr std::array<std::size_t, 3> s_planes{2, 0, 1};

PackedRgb const* FindPackedRgb(Conf::PixFmt format) {
    auto const* const found = std::ranges::find(s_packedRgb, format, &PackedRgb::format);
    return found == std::end(s_packedRgb) ? nullptr : found;
}

} // namespace
} // namespace Tarsel::Proc
#endif

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::Rebind<std::int32_t, FloatTag>;
using Floats = hn::Vec<FloatTag>;

constexpr float s_slope = 4;
constexpr float s_border = 0.333F;
constexpr float s_scale = 0.7F;

/// Samples a part of a row long, so that those of packed pixels fit the stack.
constexpr std::size_t s_part = 512;

template <class Sample>
class Balancer {
public:
    Balancer(ChromaBalance const& balance, unsigned highest)
        : m_balance(balance), m_highest(static_cast<float>(highest)) {}

    /// Red, green and blue, each `count` samples in a row.
    void Run(std::array<Sample const*, 3> const& from, std::array<Sample*, 3> const& to,
             std::size_t count) const {
        constexpr hn::Rebind<Sample, FloatTag> d;
        std::size_t const lanes = hn::Lanes(d);
        std::size_t x = 0;
        for (; x + lanes <= count; x += lanes)
            RunVector({from[0] + x, from[1] + x, from[2] + x}, {to[0] + x, to[1] + x, to[2] + x});
        if (x < count) {
            Sample rest[3][s_maxLanes]{};
            for (std::size_t i = 0; i < 3; ++i)
                std::copy_n(from[i] + x, count - x, rest[i]);
            RunVector({rest[0], rest[1], rest[2]}, {rest[0], rest[1], rest[2]});
            for (std::size_t i = 0; i < 3; ++i)
                std::copy_n(rest[i], count - x, to[i] + x);
        }
    }

private:
    static constexpr std::size_t s_maxLanes = hn::MaxLanes(FloatTag());

    static HWY_INLINE Floats Set(float v) { return hn::Set(FloatTag(), v); }
    static HWY_INLINE Floats Clip(Floats v) { return hn::Min(hn::Max(v, Set(0)), Set(1)); }
    /// From 0 to 1 around `v` = 0.
    static HWY_INLINE Floats Ramp(Floats v) { return Clip(hn::Add(hn::Mul(v, Set(s_slope)), Set(0.5F))); }

    HWY_INLINE void RunVector(std::array<Sample const*, 3> const& from,
                              std::array<Sample*, 3> const& to) const {
        Floats const highest = Set(m_highest);
        Floats const red = hn::Div(Load(from[0]), highest);
        Floats const green = hn::Div(Load(from[1]), highest);
        Floats const blue = hn::Div(Load(from[2]), highest);
        Floats const light = hn::Add(hn::Max(hn::Max(red, green), blue), hn::Min(hn::Min(red, green), blue));
        Floats const border = Set(s_border);
        Floats const scale = Set(s_scale);
        Floats const shadows = hn::Mul(Ramp(hn::Sub(border, light)), scale);
        Floats const midtones = hn::Mul(
            hn::Mul(Ramp(hn::Sub(light, border)), Ramp(hn::Sub(hn::Sub(Set(1), light), border))), scale);
        Floats const highlights = hn::Mul(Ramp(hn::Sub(hn::Add(light, border), Set(1))), scale);
        auto const shift = [&](std::size_t i, Floats v) HWY_ATTR {
            v = hn::Add(v, hn::Mul(Set(m_balance.shadows[i]), shadows));
            v = hn::Add(v, hn::Mul(Set(m_balance.midtones[i]), midtones));
            v = hn::Add(v, hn::Mul(Set(m_balance.highlights[i]), highlights));
            Store(hn::NearestInt(hn::Mul(Clip(v), highest)), to[i]);
        };
        shift(0, red);
        shift(1, green);
        shift(2, blue);
    }

    static HWY_INLINE Floats Load(Sample const* from) {
        constexpr hn::Rebind<Sample, FloatTag> d;
        return hn::ConvertTo(FloatTag(), hn::PromoteTo(IntTag(), hn::LoadU(d, from)));
    }
    static HWY_INLINE void Store(hn::Vec<IntTag> v, Sample* to) {
        constexpr hn::Rebind<Sample, FloatTag> d;
        hn::StoreU(hn::DemoteTo(d, v), d, to);
    }

    ChromaBalance const& m_balance;
    float m_highest;
};

template <class Byte>
Byte* RowOf(Byte* first, std::ptrdiff_t stride, std::size_t y) {
    return first + static_cast<std::ptrdiff_t>(y) * stride;
}

template <class Sample>
void BalancePlanes(BalancedPicture const& p, Balancer<Sample> const& balancer) {
    for (std::size_t y = 0; y < p.height; ++y) {
        std::array<Sample const*, 3> from{};
        std::array<Sample*, 3> to{};
        for (std::size_t i = 0; i < 3; ++i) {
            std::size_t const plane = s_planes[i];
            from[i] = reinterpret_cast<Sample const*>(RowOf(p.from[plane], p.fromStrides[plane], y));
            to[i] = reinterpret_cast<Sample*>(RowOf(p.to[plane], p.toStrides[plane], y));
        }
        balancer.Run(from, to, p.width);
        if (p.to[3] != nullptr)
            std::memmove(RowOf(p.to[3], p.toStrides[3], y), RowOf(p.from[3], p.fromStrides[3], y),
                         p.width * sizeof(Sample));
    }
}

template <std::size_t N>
void Split(std::uint8_t const* from, std::uint8_t (&parts)[N][s_part], std::size_t count) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr hn::ScalableTag<std::uint8_t> d;
    for (hn::Vec<decltype(d)> a, b, c, e; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        if constexpr (N == 3) {
            hn::LoadInterleaved3(d, from + N * x, a, b, c);
        } else {
            hn::LoadInterleaved4(d, from + N * x, a, b, c, e);
            hn::StoreU(e, d, parts[N - 1] + x);
        }
        hn::StoreU(a, d, parts[0] + x);
        hn::StoreU(b, d, parts[1] + x);
        hn::StoreU(c, d, parts[2] + x);
    }
#endif
    for (; x < count; ++x)
        for (std::size_t i = 0; i < N; ++i)
            parts[i][x] = from[N * x + i];
}

template <std::size_t N>
void Join(std::uint8_t const (&parts)[N][s_part], std::uint8_t* to, std::size_t count) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr hn::ScalableTag<std::uint8_t> d;
    for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
        auto const a = hn::LoadU(d, parts[0] + x);
        auto const b = hn::LoadU(d, parts[1] + x);
        auto const c = hn::LoadU(d, parts[2] + x);
        if constexpr (N == 3)
            hn::StoreInterleaved3(a, b, c, d, to + N * x);
        else
            hn::StoreInterleaved4(a, b, c, hn::LoadU(d, parts[3] + x), d, to + N * x);
    }
#endif
    for (; x < count; ++x)
        for (std::size_t i = 0; i < N; ++i)
            to[N * x + i] = parts[i][x];
}

template <std::size_t N>
void BalancePacked(BalancedPicture const& p, std::array<std::size_t, 3> const& places,
                   Balancer<std::uint8_t> const& balancer) {
    std::uint8_t parts[N][s_part];
    auto* const red = parts[places[0]];
    auto* const green = parts[places[1]];
    auto* const blue = parts[places[2]];
    for (std::size_t y = 0; y < p.height; ++y)
        for (std::size_t x = 0; x < p.width; x += s_part) {
            std::size_t const count = std::min(s_part, p.width - x);
            Split<N>(RowOf(p.from[0], p.fromStrides[0], y) + N * x, parts, count);
            balancer.Run({red, green, blue}, {red, green, blue}, count);
            Join<N>(parts, RowOf(p.to[0], p.toStrides[0], y) + N * x, count);
        }
}

void BalancePicture(BalancedPicture const& picture, ChromaBalance const& balance, bool isDeep) {
    if (PackedRgb const* const packed = FindPackedRgb(picture.format)) {
        Balancer<std::uint8_t> const balancer(balance, 255);
        if (packed->bytes == 3)
            BalancePacked<3>(picture, packed->places, balancer);
        else
            BalancePacked<4>(picture, packed->places, balancer);
    } else if (isDeep) {
        BalancePlanes(picture, Balancer<std::uint16_t>(balance, 1023));
    } else {
        BalancePlanes(picture, Balancer<std::uint8_t>(balance, 255));
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(BalancePicture);

bool CoversBalanceChroma(Conf::PixFmt format) {
    using Flags = Conf::PixFmtDescription::Flags;
    if (!HWY_ARCH_X86) // Compilers for other machines fuse the filter's products and sums.
        return false;
    if (FindPackedRgb(format) != nullptr)
        return true;
    auto const& pixels = Conf::PixFmtDescription::Find(format);
    return pixels.IsRgb() && Conf::Color::HasPlanePerComponent(format) &&
           (pixels.GetFlags() & Flags::BigEndian) == 0 && (pixels.GetDepth() == 8 || pixels.GetDepth() == 10);
}

void BalanceChroma(BalancedPicture const& picture, ChromaBalance const& balance) {
    bool const isDeep = Conf::PixFmtDescription::Find(picture.format).GetDepth() > 8;
    HWY_DYNAMIC_DISPATCH(BalancePicture)(picture, balance, isDeep);
}

} // namespace Tarsel::Proc
#endif
