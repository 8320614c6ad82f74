#pragma once

#include "Proc/Effects/Lumenta/Kernels/WaveletDenoise.h"

#include <array>
#include <cstddef>

namespace Tarsel::Proc {

/// Taps to each side of the middle one.
constexpr std::size_t s_waveletReach = 4;
constexpr std::size_t s_waveletWindow = 2 * s_waveletReach + 1;

/// Mirrors `i` within 0 to count - 1, as often as it takes.
constexpr std::size_t Mirror(std::ptrdiff_t i, std::size_t count) {
    auto const period = static_cast<std::ptrdiff_t>(2 * (count - 1));
    if (period == 0)
        return 0;
    i %= period;
    i = i < 0 ? -i : i;
    return static_cast<std::size_t>(i < static_cast<std::ptrdiff_t>(count) ? i : period - i);
}

/// A transform under way: the plane, and memory for it.
class WaveletWork {
public:
    WaveletWork(WaveletPlane const& plane, int depth, double strength);

    std::size_t PlaneSize() const { return m_stride * m_plane.height; }
    std::size_t FloatCount() const {
        return (3 * m_levels + 2) * PlaneSize() + 2 * (s_waveletWindow + 1) * m_rowSize + s_align;
    }
    void SetMemory(float* memory);

    WaveletPlane const& Plane() const { return m_plane; }
    std::size_t Levels() const { return m_levels; }
    double Strength() const { return m_strength; }

    /// Rows of floats, aligned to whole cache lines, that may be written beyond their width by one line.
    float* Coarse(std::size_t level, std::size_t y) const { return Row(level % 2, y); }
    float* Detail(std::size_t level, std::size_t kind, std::size_t y) const {
        return Row(2 + 3 * level + kind, y);
    }
    /// Rows with margins for the reach of the widest step to both sides.
    float* PaddedRow(std::size_t i) const { return m_rows + i * m_rowSize + m_margin; }

private:
    static constexpr std::size_t s_align = 16;

    float* Row(std::size_t plane, std::size_t y) const {
        return m_planes + plane * PlaneSize() + y * m_stride;
    }

    WaveletPlane m_plane;
    std::size_t m_levels;
    double m_strength;
    std::size_t m_stride;
    std::size_t m_margin;
    std::size_t m_rowSize;
    float* m_planes{};
    float* m_rows{};
};

} // namespace Tarsel::Proc
