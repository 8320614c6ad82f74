#include "Proc/Effects/Lumenta/Kernels/Emboss.h"

#include "Proc/Effects/Lumenta/Kernels/PlanarYuv.h"

#include <algorithm>
#include <cstring>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Kernels/Emboss.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Effects/Lumenta/Kernels/StretchLuma-inl.h"

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

struct Bytes {
    using Sample = std::uint8_t;

    static Sample One(Sample here, Sample there) { return static_cast<Sample>((here + 256 - there) >> 1); }

    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D, hn::Vec<D> here, hn::Vec<D> there) {
        return hn::AverageRound(here, hn::Not(there));
    }
};

struct Words {
    using Sample = std::uint16_t;

    static Sample One(Sample here, Sample there) { return static_cast<Sample>((here + 256 - there) / 2); }

    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, hn::Vec<D> here, hn::Vec<D> there) {
        // The average is that of here - there + 65536, and rounds down where what is odd and below 0 has to
        // be rounded up.
        auto const down = hn::Add(hn::AverageRound(here, hn::Not(there)), hn::Set(d, 0x8080));
        auto const below = hn::SaturatedSub(hn::SaturatedSub(there, here), hn::Set(d, 256));
        return hn::Add(down, hn::And(hn::Min(below, hn::Set(d, 1)), hn::Xor(here, there)));
    }
};

struct StretchedBytes {
    using Sample = std::uint8_t;

    static Sample One(Sample here, Sample there) { return StretchOne(Bytes::One(here, there)); }

    template <class D>
    static HWY_INLINE hn::Vec<D> Many(D d, hn::Vec<D> here, hn::Vec<D> there) {
        return StretchMany(d, Bytes::Many(d, here, there));
    }
};

template <class Sample>
Sample Read(std::uint8_t const* row, std::size_t x) {
    Sample sample = 0;
    std::memcpy(&sample, row + x * sizeof(Sample), sizeof(Sample));
    return sample;
}

template <class Sample>
void Write(std::uint8_t* row, std::size_t x, Sample sample) {
    std::memcpy(row + x * sizeof(Sample), &sample, sizeof(Sample));
}

/// Each pixel takes that of the other row at its own place.
template <class Kind>
void EmbossPixels(std::uint8_t* to, std::uint8_t const* here, std::uint8_t const* there, std::size_t count) {
    using Sample = typename Kind::Sample;
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr hn::ScalableTag<Sample> d;
    constexpr hn::Repartition<std::uint8_t, decltype(d)> bytes;
    std::size_t const lanes = hn::Lanes(d);
    for (; x + lanes <= count; x += lanes) {
        std::size_t const at = x * sizeof(Sample);
        auto const made = Kind::Many(d, hn::BitCast(d, hn::LoadU(bytes, here + at)),
                                     hn::BitCast(d, hn::LoadU(bytes, there + at)));
        hn::StoreU(hn::BitCast(bytes, made), bytes, to + at);
    }
#endif
    for (; x < count; ++x)
        Write(to, x, Kind::One(Read<Sample>(here, x), Read<Sample>(there, x)));
}

template <class Kind>
void EmbossRows(EmbossedPlane const& plane) {
    using Sample = typename Kind::Sample;
    std::size_t const lastX = plane.width - plane.unread - 1;
    std::size_t const lastY = plane.height - plane.unread - 1;
    std::size_t const moved = lastX - std::min(plane.right, lastX);
    for (std::size_t y = 0; y < plane.height; ++y) {
        std::uint8_t* const to = plane.to.Row(y);
        std::uint8_t const* const here = plane.from.Row(std::min(y, lastY));
        std::uint8_t const* const there = plane.from.Row(std::min(y + std::min(plane.below, lastY), lastY));
        EmbossPixels<Kind>(to, here, there + (lastX - moved) * sizeof(Sample), moved);
        for (std::size_t x = moved; x < plane.width; ++x)
            Write(to, x, Kind::One(Read<Sample>(here, std::min(x, lastX)), Read<Sample>(there, lastX)));
    }
}

void EmbossAs(EmbossKind kind, EmbossedPlane const& plane) {
    switch (kind) {
    case EmbossKind::Bytes:
        return EmbossRows<Bytes>(plane);
    case EmbossKind::Words:
        return EmbossRows<Words>(plane);
    case EmbossKind::StretchedBytes:
        return EmbossRows<StretchedBytes>(plane);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(EmbossAs);

bool CoversEmboss(Conf::PixFmt format, std::uint32_t width, std::uint32_t height, bool toGray,
                  std::size_t unread) {
    auto const& pixels = Conf::PixFmtDescription::Find(format);
    bool const isGray = IsPlainGray(pixels);
    if (!isGray && !IsPlanarYuv(pixels))
        return false;
    // Deep samples may fall below 0, where it depends on the machine what becomes of the filter's doubles.
    if (pixels.GetDepth() > 8 && (toGray || !HWY_ARCH_X86))
        return false;
    int const last = toGray || isGray ? 0 : 2;
    return pixels.GetPlanWidth(last, width) > unread && pixels.GetPlanHeight(last, height) > unread;
}

void EmbossPlane(EmbossKind kind, EmbossedPlane const& plane) noexcept {
    HWY_DYNAMIC_DISPATCH(EmbossAs)(kind, plane);
}

} // namespace Tarsel::Proc
#endif
