#include "Proc/Effects/Lumenta/Kernels/EdgeDetect.h"

#include "Proc/Effects/Lumenta/Kernels/PlanarYuv.h"

#include <algorithm>
#include <cmath>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Kernels/EdgeDetect.cpp"
#include <hwy/foreach_target.h>

#include "Proc/Effects/Lumenta/Kernels/StretchLuma-inl.h"

#include <hwy/highway.h>

#ifndef TARSEL_PROC_EDGE_DETECT_ROWS
#define TARSEL_PROC_EDGE_DETECT_ROWS
namespace Tarsel::Proc {
namespace {

/// Rows of the steps between a plane and its edges, of which only the nearest ones are kept.
class EdgeRows {
public:
    enum Kind { Source, Smooth, GradientX, GradientY, Length, Peak, Outer, Inner, Middle, KindCount };

    /// So many samples to both sides of a row may be read and written.
    static constexpr std::size_t s_margin = 64;
    static constexpr std::size_t s_kept = 5;

    static std::size_t Count(std::size_t width) { return KindCount * s_kept * RowSize(width); }
    EdgeRows(std::int16_t* memory, std::size_t width) : m_memory(memory), m_rowSize(RowSize(width)) {}

    std::int16_t* Get(Kind kind, std::size_t y) const {
        return m_memory + (kind * s_kept + y % s_kept) * m_rowSize + s_margin;
    }

private:
    static std::size_t RowSize(std::size_t width) { return (width + 2 * s_margin + 31) / 32 * 32; }

    std::int16_t* m_memory;
    std::size_t m_rowSize;
};

struct Thresholds {
    int low;
    int high;
};

} // namespace
} // namespace Tarsel::Proc
#endif

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<std::int16_t, EdgeRows::s_margin / 2>;
using ByteTag = hn::Rebind<std::uint8_t, Tag>;
using UnsignedTag = hn::RebindToUnsigned<Tag>;
using Words = hn::Vec<Tag>;

/// Five rows of the Gaussian, which is symmetric both ways; its 25 weights make 159.
constexpr int s_gaussian[3][3]{{15, 12, 5}, {12, 9, 4}, {5, 4, 2}};
constexpr std::uint16_t s_gaussianReciprocal = 52759; // 2^23 / 159, rounded up: exact up to 159 * 255.
constexpr int s_gaussianShift = 7;                    // Behind the upper half of a 16x16-bit product.

/// tan(pi / 8) in 1 / 65536; tan(3 pi / 8) is 2 more.
constexpr std::uint16_t s_tangent = 27146;

class Detection {
public:
    Detection(EdgeKind kind, EdgePlane const& plane, Thresholds thresholds, EdgeRows const& rows)
        : m_kind(kind), m_plane(plane), m_thresholds(thresholds), m_rows(rows) {}

    void Run() const {
        // Each step runs some rows behind the one whose rows it needs.
        std::size_t const height = m_plane.height;
        for (std::size_t y = 0; y < height + 5; ++y) {
            if (y < height)
                Read(y);
            if (y >= 2 && y - 2 < height)
                MakeSmooth(y - 2);
            if (y >= 3 && y - 3 < height)
                MakeGradients(y - 3);
            if (y >= 4 && y - 4 < height)
                FindPeaks(y - 4);
            if (y >= 5)
                Write(y - 5);
        }
    }

private:
    bool IsOutermost(std::size_t y) const { return y == 0 || y + 1 == m_plane.height; }

    static HWY_INLINE Words Load(std::int16_t const* at) { return hn::LoadU(Tag(), at); }
    static HWY_INLINE Words Times(Words v, int factor) {
        return hn::Mul(v, hn::Set(Tag(), static_cast<std::int16_t>(factor)));
    }

    template <class Action>
    HWY_INLINE void ForEach(Action const& action) const {
        for (std::size_t x = 0; x < m_plane.width; x += hn::Lanes(Tag()))
            action(x);
    }

    void Read(std::size_t y) const {
        std::uint8_t const* const from = m_plane.from.Row(y);
        std::int16_t* const to = m_rows.Get(EdgeRows::Source, y);
        std::size_t x = 0;
        for (; x + hn::Lanes(Tag()) <= m_plane.width; x += hn::Lanes(Tag())) {
            auto bytes = hn::LoadU(ByteTag(), from + x);
#if HWY_TARGET == HWY_SCALAR
            if (m_kind == EdgeKind::StretchedWires)
                bytes = hn::Set(ByteTag(), StretchOne(hn::GetLane(bytes)));
#else
            if (m_kind == EdgeKind::StretchedWires)
                bytes = StretchMany(ByteTag(), bytes);
#endif
            hn::StoreU(hn::PromoteTo(Tag(), bytes), Tag(), to + x);
        }
        for (; x < m_plane.width; ++x)
            to[x] = m_kind == EdgeKind::StretchedWires ? StretchOne(from[x]) : from[x];
    }

    void MakeSmooth(std::size_t y) const {
        std::int16_t const* const source = m_rows.Get(EdgeRows::Source, y);
        std::int16_t* const to = m_rows.Get(EdgeRows::Smooth, y);
        std::size_t const width = m_plane.width;
        if (y < 2 || y + 2 >= m_plane.height) {
            std::copy_n(source, width, to);
            return;
        }
        // Columns first, weighted for each distance from the middle one.
        std::int16_t* const columns[]{m_rows.Get(EdgeRows::Middle, 0), m_rows.Get(EdgeRows::Inner, 0),
                                      m_rows.Get(EdgeRows::Outer, 0)};
        ForEach([&](std::size_t x) HWY_ATTR {
            auto const row = [&](std::size_t from)
                                 HWY_ATTR { return Load(m_rows.Get(EdgeRows::Source, from) + x); };
            Words const middle = row(y);
            Words const inner = hn::Add(row(y - 1), row(y + 1));
            Words const outer = hn::Add(row(y - 2), row(y + 2));
            for (std::size_t i = 0; i < 3; ++i) {
                int const* const weights = s_gaussian[i];
                Words const sum = hn::Add(hn::Add(Times(middle, weights[0]), Times(inner, weights[1])),
                                          Times(outer, weights[2]));
                hn::StoreU(sum, Tag(), columns[i] + x);
            }
        });
        ForEach([&](std::size_t x) HWY_ATTR {
            Words const inner = hn::Add(Load(columns[1] + x - 1), Load(columns[1] + x + 1));
            Words const outer = hn::Add(Load(columns[2] + x - 2), Load(columns[2] + x + 2));
            auto const sum = hn::BitCast(UnsignedTag(), hn::Add(hn::Add(Load(columns[0] + x), inner), outer));
            auto const mean = hn::ShiftRight<s_gaussianShift>(
                hn::MulHigh(sum, hn::Set(UnsignedTag(), s_gaussianReciprocal)));
            hn::StoreU(hn::BitCast(Tag(), mean), Tag(), to + x);
        });
        for (std::size_t const x : {std::size_t{0}, std::size_t{1}, width - 2, width - 1})
            to[x] = source[x];
    }

    void MakeGradients(std::size_t y) const {
        std::int16_t* const length = m_rows.Get(EdgeRows::Length, y);
        if (IsOutermost(y)) {
            std::fill_n(length, m_plane.width, std::int16_t{0});
            return;
        }
        std::int16_t const* const above = m_rows.Get(EdgeRows::Smooth, y - 1);
        std::int16_t const* const here = m_rows.Get(EdgeRows::Smooth, y);
        std::int16_t const* const below = m_rows.Get(EdgeRows::Smooth, y + 1);
        std::int16_t* const gradientX = m_rows.Get(EdgeRows::GradientX, y);
        std::int16_t* const gradientY = m_rows.Get(EdgeRows::GradientY, y);
        ForEach([&](std::size_t x) HWY_ATTR {
            auto const column = [&](std::int16_t const* row, std::ptrdiff_t k)
                                    HWY_ATTR { return Load(row + static_cast<std::ptrdiff_t>(x) + k); };
            auto const twice = [](Words v) HWY_ATTR { return hn::Add(v, v); };
            auto const across = [&](std::ptrdiff_t k) HWY_ATTR {
                return hn::Add(hn::Add(column(above, k), column(below, k)), twice(column(here, k)));
            };
            auto const down = [&](std::ptrdiff_t k)
                                  HWY_ATTR { return hn::Sub(column(below, k), column(above, k)); };
            Words const dx = hn::Sub(across(1), across(-1));
            Words const dy = hn::Add(hn::Add(down(-1), down(1)), twice(down(0)));
            hn::StoreU(dx, Tag(), gradientX + x);
            hn::StoreU(dy, Tag(), gradientY + x);
            hn::StoreU(hn::Add(hn::Abs(dx), hn::Abs(dy)), Tag(), length + x);
        });
        length[0] = 0;
        length[m_plane.width - 1] = 0;
    }

    /// The lengths that are greater than those of both neighbors across the edge, at most 255; 0 elsewhere.
    void FindPeaks(std::size_t y) const {
        std::int16_t* const to = m_rows.Get(EdgeRows::Peak, y);
        if (IsOutermost(y)) {
            std::fill_n(to, m_plane.width, std::int16_t{0});
            return;
        }
        std::int16_t const* const above = m_rows.Get(EdgeRows::Length, y - 1);
        std::int16_t const* const here = m_rows.Get(EdgeRows::Length, y);
        std::int16_t const* const below = m_rows.Get(EdgeRows::Length, y + 1);
        std::int16_t const* const gradientX = m_rows.Get(EdgeRows::GradientX, y);
        std::int16_t const* const gradientY = m_rows.Get(EdgeRows::GradientY, y);
        constexpr Tag d;
        ForEach([&](std::size_t x) HWY_ATTR {
            Words const dx = Load(gradientX + x);
            Words const dy = Load(gradientY + x);
            Words const width = hn::Abs(dx);
            Words const height = hn::Abs(dy);
            Words const flat = hn::BitCast(
                d, hn::MulHigh(hn::BitCast(UnsignedTag(), width), hn::Set(UnsignedTag(), s_tangent)));
            auto const isSteep = hn::Gt(height, hn::Add(flat, hn::Add(width, width)));
            auto const isSloping = hn::Gt(height, flat);
            auto const isRising = hn::Lt(hn::Xor(dx, dy), hn::Zero(d));
            auto const greater = [&](std::int16_t const* first, std::int16_t const* second, std::ptrdiff_t k)
                                     HWY_ATTR {
                                         auto const at = static_cast<std::ptrdiff_t>(x);
                                         return hn::Max(Load(first + at - k), Load(second + at + k));
                                     };
            Words const slanted =
                hn::IfThenElse(isRising, greater(below, above, 1), greater(above, below, 1));
            Words const upright = hn::IfThenElse(isSteep, greater(above, below, 0), slanted);
            Words const neighbor = hn::IfThenElse(isSloping, upright, greater(here, here, 1));
            Words const length = Load(here + x);
            Words const peak = hn::Min(length, hn::Set(d, 255));
            hn::StoreU(hn::IfThenElseZero(hn::Gt(length, neighbor), peak), d, to + x);
        });
        to[0] = 0;
        to[m_plane.width - 1] = 0;
    }

    void Write(std::size_t y) const {
        constexpr Tag d;
        Words const low = hn::Set(d, static_cast<std::int16_t>(m_thresholds.low));
        Words const high = hn::Set(d, static_cast<std::int16_t>(m_thresholds.high));
        std::int16_t const* const here = m_rows.Get(EdgeRows::Peak, y);
        // No peaks are in the outermost rows, so that it does not matter what is beside those.
        std::int16_t const* const above = y > 0 ? m_rows.Get(EdgeRows::Peak, y - 1) : here;
        std::int16_t const* const below = y + 1 < m_plane.height ? m_rows.Get(EdgeRows::Peak, y + 1) : here;
        std::uint8_t const* const source = m_plane.from.Row(y);
        std::uint8_t* const to = m_plane.to.Row(y);
        std::int16_t* const strongest = m_rows.Get(EdgeRows::Middle, 0);
        auto const greatest = [](Words a, Words b, Words c) HWY_ATTR { return hn::Max(hn::Max(a, b), c); };
        strongest[-1] = 0;
        ForEach([&](std::size_t x) HWY_ATTR {
            hn::StoreU(greatest(Load(above + x), Load(here + x), Load(below + x)), d, strongest + x);
        });
        strongest[m_plane.width] = 0;
        auto const edges = [&](std::size_t x) HWY_ATTR {
            Words const peak = Load(here + x);
            Words const near =
                greatest(Load(strongest + x - 1), Load(strongest + x), Load(strongest + x + 1));
            Words const edge = hn::IfThenElseZero(hn::And(hn::Gt(peak, low), hn::Gt(near, high)), peak);
            return edge;
        };
        std::size_t const lanes = hn::Lanes(d);
        std::size_t x = 0;
        for (; x + lanes <= m_plane.width; x += lanes) {
            Words result = edges(x);
            if (m_kind == EdgeKind::Mix)
                result =
                    hn::ShiftRight<1>(hn::Add(result, hn::PromoteTo(d, hn::LoadU(ByteTag(), source + x))));
            hn::StoreU(hn::DemoteTo(ByteTag(), result), ByteTag(), to + x);
        }
        if (x < m_plane.width) {
            std::int16_t* const rest = m_rows.Get(EdgeRows::Inner, 0);
            hn::StoreU(edges(x), d, rest);
            for (std::size_t i = 0; x + i < m_plane.width; ++i)
                to[x + i] = static_cast<std::uint8_t>(m_kind == EdgeKind::Mix ? (rest[i] + source[x + i]) >> 1
                                                                              : rest[i]);
        }
    }

    EdgeKind m_kind;
    EdgePlane const& m_plane;
    Thresholds m_thresholds;
    EdgeRows const& m_rows;
};

void DetectEdges(EdgeKind kind, EdgePlane const& plane, Thresholds thresholds, EdgeRows const& rows) {
    Detection(kind, plane, thresholds, rows).Run();
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(DetectEdges);

bool CoversEdgeDetect(Conf::PixFmt format, std::uint32_t width, std::uint32_t height, bool mix) {
    auto const& pixels = Conf::PixFmtDescription::Find(format);
    bool const isLuma = IsPlainGray(pixels) || (!mix && IsPlanarYuv(pixels));
    bool const isPlanarRgb = mix && format == Conf::PixFmt::GBRP;
    return pixels.GetDepth() == 8 && (isLuma || isPlanarRgb) && width >= 2 && height >= 4;
}

void EdgeDetector::Detect(EdgeKind kind, EdgePlane const& plane, double low, double high) {
    auto const toByte = [](double share) { return static_cast<int>(std::lround(share * 255)); };
    m_memory.resize(std::max(m_memory.size(), EdgeRows::Count(plane.width)));
    HWY_DYNAMIC_DISPATCH(DetectEdges)
    (kind, plane, {toByte(low), toByte(high)}, EdgeRows(m_memory.data(), plane.width));
}

} // namespace Tarsel::Proc
#endif
