#include "Proc/Effects/Lumenta/Kernels/WaveletDenoise.h"

#include "Proc/Effects/Lumenta/Kernels/PlanarYuv.h"
#include "Proc/Effects/Lumenta/Kernels/WaveletWork.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Kernels/WaveletDenoise.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

constexpr double s_root = 1.41421356237309504880;

// Halves of the symmetric filters, the middle tap first. Those of synthesis are those of the other analysis
// with the sign of every second tap changed.
constexpr double s_lowAnalysis[]{0.6029490182363579 * s_root, 0.2668641184428723 * s_root,
                                 -0.07822326652898785 * s_root, -0.01686411844287495 * s_root,
                                 0.02674875741080976 * s_root};
constexpr double s_highAnalysis[]{1.115087052456994 / s_root, -0.5912717631142470 / s_root,
                                  -0.05754352622849957 / s_root, 0.09127176311424948 / s_root};
constexpr double s_lowSynthesis[]{s_highAnalysis[0], -s_highAnalysis[1], s_highAnalysis[2],
                                  -s_highAnalysis[3]};
constexpr double s_highSynthesis[]{s_lowAnalysis[0], -s_lowAnalysis[1], s_lowAnalysis[2], -s_lowAnalysis[3],
                                   s_lowAnalysis[4]};

using DoubleTag = hn::CappedTag<double, 8>;
using FloatTag = hn::Rebind<float, DoubleTag>;
using Doubles = hn::Vec<DoubleTag>;
using Floats = hn::Vec<FloatTag>;

HWY_INLINE Doubles ToDoubles(Floats v) {
    return hn::PromoteTo(DoubleTag(), v);
}

HWY_INLINE Floats ToFloats(Doubles v) {
    return hn::DemoteTo(FloatTag(), v);
}

/// The sum of the samples k steps to both sides of the middle one; `at(k)` is the sample k steps from it.
template <class Samples>
HWY_INLINE Doubles Pair(Samples const& at, std::ptrdiff_t k) {
    return ToDoubles(hn::Add(at(-k), at(k)));
}

template <std::size_t N, class... Pairs>
HWY_INLINE Doubles Filter(double const (&taps)[N], Doubles middle, Pairs... pairs) {
    static_assert(sizeof...(pairs) + 1 == N);
    Doubles sum = hn::Mul(middle, hn::Set(DoubleTag(), taps[0]));
    std::size_t k = 0;
    ((sum = hn::Add(sum, hn::Mul(pairs, hn::Set(DoubleTag(), taps[++k])))), ...);
    return sum;
}

template <class Samples>
HWY_INLINE void Split(Samples const& at, Floats& low, Floats& high) {
    Doubles const middle = ToDoubles(at(0));
    Doubles const first = Pair(at, 1);
    Doubles const second = Pair(at, 2);
    Doubles const third = Pair(at, 3);
    low = ToFloats(Filter(s_lowAnalysis, middle, first, second, third, Pair(at, 4)));
    high = ToFloats(Filter(s_highAnalysis, middle, first, second, third));
}

template <class Lows, class Highs>
HWY_INLINE Floats Merge(Lows const& low, Highs const& high) {
    Doubles const lows = Filter(s_lowSynthesis, ToDoubles(low(0)), Pair(low, 1), Pair(low, 2), Pair(low, 3));
    Doubles const highs = Filter(s_highSynthesis, ToDoubles(high(0)), Pair(high, 1), Pair(high, 2),
                                 Pair(high, 3), Pair(high, 4));
    return ToFloats(hn::Mul(hn::Add(lows, highs), hn::Set(DoubleTag(), 0.5)));
}

/// Fills the margins of a row, which are as wide as the filters reach.
class Margins {
public:
    Margins(std::size_t width, std::size_t step) : m_width(width) {
        std::size_t const reach = s_waveletReach * step;
        m_sources.reserve(2 * reach);
        for (std::size_t i = 0; i < reach; ++i)
            m_sources.push_back(
                Source(static_cast<std::ptrdiff_t>(i) - static_cast<std::ptrdiff_t>(reach), step));
        for (std::size_t i = 0; i < reach; ++i)
            m_sources.push_back(Source(static_cast<std::ptrdiff_t>(width + i), step));
    }

    void Fill(float* row) const {
        std::size_t const reach = m_sources.size() / 2;
        for (std::size_t i = 0; i < reach; ++i)
            *(row - reach + i) = row[m_sources[i]];
        for (std::size_t i = 0; i < reach; ++i)
            row[m_width + i] = row[m_sources[reach + i]];
    }

private:
    std::size_t Source(std::ptrdiff_t x, std::size_t step) const {
        auto const signedStep = static_cast<std::ptrdiff_t>(step);
        std::ptrdiff_t const phase = (x % signedStep + signedStep) % signedStep;
        auto const first = static_cast<std::size_t>(phase);
        std::size_t const count = (m_width - first + step - 1) / step;
        return first + step * Mirror((x - phase) / signedStep, count);
    }

    std::size_t m_width;
    std::vector<std::size_t> m_sources;
};

/// Rows of which the middle one is filtered.
using Window = std::array<float const*, s_waveletWindow>;

/// One level of the transform, of every `step`-th row and column.
class Level {
public:
    Level(WaveletWork const& work, std::size_t level)
        : m_work(work), m_level(level), m_step(std::size_t{1} << level),
          m_margins(work.Plane().width, m_step) {}

    void Analyze() const {
        std::size_t const height = m_work.Plane().height;
        for (std::size_t first = 0; first < m_step; ++first) {
            std::size_t const count = (height - first + m_step - 1) / m_step;
            std::size_t ready = 0;
            for (std::size_t i = 0; i < count; ++i) {
                for (; ready < std::min(i + s_waveletReach + 1, count); ++ready)
                    AnalyzeRow(first + ready * m_step, ready);
                AnalyzeColumns(first + i * m_step, i, count);
            }
        }
    }

    /// To the plane of the next finer level.
    void Synthesize() const {
        std::size_t const height = m_work.Plane().height;
        for (std::size_t first = 0; first < m_step; ++first) {
            std::size_t const count = (height - first + m_step - 1) / m_step;
            for (std::size_t i = 0; i < count; ++i)
                SynthesizeRow(first, i, count);
        }
    }

private:
    float* Low(std::size_t i) const { return m_work.PaddedRow(2 + i % s_waveletWindow); }
    float* High(std::size_t i) const { return m_work.PaddedRow(2 + s_waveletWindow + i % s_waveletWindow); }

    template <class Rows>
    static Window MakeWindow(std::size_t i, std::size_t count, Rows const& rows) {
        Window window;
        for (std::size_t k = 0; k < s_waveletWindow; ++k)
            window[k] =
                rows(Mirror(static_cast<std::ptrdiff_t>(i + k) - std::ptrdiff_t{s_waveletReach}, count));
        return window;
    }

    /// What the rows of a window hold at x.
    static HWY_INLINE auto At(Window const& rows, std::size_t x) {
        return [&rows, x](std::ptrdiff_t k) HWY_ATTR {
            return hn::LoadU(FloatTag(), rows[static_cast<std::size_t>(k) + s_waveletReach] + x);
        };
    }

    /// Row y into the window's place for its i-th row: smooth and detailed along the row.
    void AnalyzeRow(std::size_t y, std::size_t i) const {
        float* const row = m_work.PaddedRow(0);
        std::size_t const width = m_work.Plane().width;
        ReadRow(y, row);
        m_margins.Fill(row);
        float* const low = Low(i);
        float* const high = High(i);
        constexpr FloatTag d;
        auto const step = static_cast<std::ptrdiff_t>(m_step);
        for (std::size_t x = 0; x < width; x += hn::Lanes(d)) {
            Floats lows;
            Floats highs;
            Split([&](std::ptrdiff_t k) HWY_ATTR { return hn::LoadU(d, row + x + k * step); }, lows, highs);
            hn::StoreU(lows, d, low + x);
            hn::StoreU(highs, d, high + x);
        }
    }

    void ReadRow(std::size_t y, float* row) const {
        std::size_t const width = m_work.Plane().width;
        constexpr FloatTag d;
        if (m_level > 0) {
            float const* const from = m_work.Coarse(m_level, y);
            for (std::size_t x = 0; x < width; x += hn::Lanes(d))
                hn::StoreU(hn::LoadU(d, from + x), d, row + x);
        } else if (m_work.Plane().isDeep) {
            std::uint8_t const* const from = m_work.Plane().from.Row(y);
            for (std::size_t x = 0; x < width; ++x) {
                std::uint16_t sample = 0;
                std::memcpy(&sample, from + 2 * x, sizeof sample);
                row[x] = sample;
            }
        } else {
            std::uint8_t const* const from = m_work.Plane().from.Row(y);
            for (std::size_t x = 0; x < width; ++x)
                row[x] = from[x];
        }
    }

    void AnalyzeColumns(std::size_t y, std::size_t i, std::size_t count) const {
        auto const lows = MakeWindow(i, count, [&](std::size_t row) { return Low(row); });
        auto const highs = MakeWindow(i, count, [&](std::size_t row) { return High(row); });
        float* const coarse = m_work.Coarse(m_level + 1, y);
        float* const lowHigh = m_work.Detail(m_level, 0, y);
        float* const highLow = m_work.Detail(m_level, 1, y);
        float* const highHigh = m_work.Detail(m_level, 2, y);
        constexpr FloatTag d;
        for (std::size_t x = 0; x < m_work.Plane().width; x += hn::Lanes(d)) {
            Floats smooth;
            Floats detail;
            Split(At(lows, x), smooth, detail);
            hn::StoreU(smooth, d, coarse + x);
            hn::StoreU(Shrink(detail), d, lowHigh + x);
            Split(At(highs, x), smooth, detail);
            hn::StoreU(Shrink(smooth), d, highLow + x);
            hn::StoreU(Shrink(detail), d, highHigh + x);
        }
    }

    /// Towards 0 by the strength, and to 0 what is not above it.
    HWY_INLINE Floats Shrink(Floats v) const {
        constexpr DoubleTag d;
        Doubles const wide = ToDoubles(v);
        Doubles const rest = hn::Sub(hn::Abs(wide), hn::Set(d, m_work.Strength()));
        return ToFloats(hn::CopySign(hn::Max(rest, hn::Zero(d)), wide));
    }

    void SynthesizeRow(std::size_t first, std::size_t i, std::size_t count) const {
        auto const y = [&](std::size_t row) { return first + row * m_step; };
        auto const coarse =
            MakeWindow(i, count, [&](std::size_t row) { return m_work.Coarse(m_level + 1, y(row)); });
        std::array<Window, 3> details;
        for (std::size_t kind = 0; kind < details.size(); ++kind)
            details[kind] =
                MakeWindow(i, count, [&](std::size_t row) { return m_work.Detail(m_level, kind, y(row)); });
        float* const low = m_work.PaddedRow(0);
        float* const high = m_work.PaddedRow(1);
        std::size_t const width = m_work.Plane().width;
        constexpr FloatTag d;
        for (std::size_t x = 0; x < width; x += hn::Lanes(d)) {
            hn::StoreU(Merge(At(coarse, x), At(details[0], x)), d, low + x);
            hn::StoreU(Merge(At(details[1], x), At(details[2], x)), d, high + x);
        }
        m_margins.Fill(low);
        m_margins.Fill(high);
        float* const to = m_work.Coarse(m_level, y(i));
        auto const step = static_cast<std::ptrdiff_t>(m_step);
        for (std::size_t x = 0; x < width; x += hn::Lanes(d)) {
            auto const lows = [&](std::ptrdiff_t k) HWY_ATTR { return hn::LoadU(d, low + x + k * step); };
            auto const highs = [&](std::ptrdiff_t k) HWY_ATTR { return hn::LoadU(d, high + x + k * step); };
            hn::StoreU(Merge(lows, highs), d, to + x);
        }
    }

    WaveletWork const& m_work;
    std::size_t m_level;
    std::size_t m_step;
    Margins m_margins;
};

/// An 8x8 ordered dither, from 1/128 to 127/128.
constexpr float Dither(std::size_t x, std::size_t y) {
    unsigned rank = 0;
    for (unsigned bit = 0; bit < 3; ++bit) {
        unsigned const column = (x >> bit) & 1U;
        unsigned const row = (y >> bit) & 1U;
        rank = 4 * rank + 2 * (column ^ row) + row;
    }
    return (static_cast<float>(rank) + 0.5F) / 64;
}

void WriteBytes(float const* from, std::size_t width, std::size_t y, std::uint8_t* to) {
    double dither[8];
    for (std::size_t x = 0; x < 8; ++x)
        dither[x] = Dither(x, y);
    for (std::size_t x = 0; x < width; ++x)
        to[x] = static_cast<std::uint8_t>(std::clamp(static_cast<int>(from[x] + dither[x % 8]), 0, 255));
}

void WriteWords(float const* from, std::size_t width, std::uint8_t* to) {
    for (std::size_t x = 0; x < width; ++x) {
        auto const sample = static_cast<std::uint16_t>(static_cast<int>(from[x]));
        std::memcpy(to + 2 * x, &sample, sizeof sample);
    }
}

void RunWavelet(WaveletWork const& work) {
    for (std::size_t level = 0; level < work.Levels(); ++level)
        Level(work, level).Analyze();
    for (std::size_t level = work.Levels(); level-- > 0;)
        Level(work, level).Synthesize();
    WaveletPlane const& plane = work.Plane();
    for (std::size_t y = 0; y < plane.height; ++y)
        if (work.Levels() == 0)
            std::memmove(plane.to.Row(y), plane.from.Row(y), plane.width * (plane.isDeep ? 2 : 1));
        else if (plane.isDeep)
            WriteWords(work.Coarse(0, y), plane.width, plane.to.Row(y));
        else
            WriteBytes(work.Coarse(0, y), plane.width, y, plane.to.Row(y));
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(RunWavelet);

namespace {

constexpr std::size_t RoundUp(std::size_t value, std::size_t unit) {
    return (value + unit - 1) / unit * unit;
}

} // namespace

WaveletWork::WaveletWork(WaveletPlane const& plane, int depth, double strength)
    : m_plane(plane),
      m_levels(std::min(static_cast<std::size_t>(depth),
                        static_cast<std::size_t>(std::bit_width(std::min(plane.width, plane.height))) - 1)),
      m_strength(strength), m_stride(RoundUp(plane.width, s_align) + s_align),
      m_margin(RoundUp((s_waveletReach << m_levels) / 2, s_align)), m_rowSize(m_stride + 2 * m_margin) {}

void WaveletWork::SetMemory(float* memory) {
    constexpr std::uintptr_t line = s_align * sizeof(float);
    auto const address = reinterpret_cast<std::uintptr_t>(memory);
    m_planes = memory + (line - address % line) % line / sizeof(float);
    m_rows = m_planes + (3 * m_levels + 2) * PlaneSize();
}

bool CoversWaveletDenoise(Conf::PixFmt format) {
    auto const& pixels = Conf::PixFmtDescription::Find(format);
    // Compilers for other machines fuse the filter's products and sums.
    return IsPlanarYuv(pixels) && HWY_ARCH_X86;
}

void WaveletDenoiser::Denoise(WaveletPlane const& plane, int depth, double strength) {
    WaveletWork work(plane, depth, strength);
    if (m_memory.size() < work.FloatCount())
        m_memory.resize(work.FloatCount());
    work.SetMemory(m_memory.data());
    HWY_DYNAMIC_DISPATCH(RunWavelet)(work);
}

} // namespace Tarsel::Proc
#endif
