#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

/// What is drawn of a plane.
enum class EdgeKind {
    /// Its edges on black.
    Wires,
    /// The edges of luma of limited range that is stretched to the full range first.
    StretchedWires,
    /// The mean of the plane and its edges.
    Mix
};

/// A plane of bytes and its edges, which overlap nowhere; rows may lie at any address.
struct EdgePlane {
    PlaneView from;
    MutablePlane to;
    std::size_t width;
    std::size_t height;
};

/// Whether the detector makes of such frames what the filter "edgedetect" does: of gray and, as `mix` with
/// its mode "colormix", of each plane of planar RGB; without `mix`, its mode "wires", of the luma of planar
/// YUV too, which comes out as gray. 8 bits; no plane of less than four rows, where the filter writes beside
/// them. Throws CoreException for a format that FFmpeg does not know. Any thread.
bool CoversEdgeDetect(Conf::PixFmt format, std::uint32_t width, std::uint32_t height, bool mix);

/// Finds edges as published by Canny (1986): 5x5 Gaussian of sigma 1.4 (but for the two outermost rows and
/// columns), Sobel's gradients with |x| + |y| for their length, the local maxima across the edge in one of
/// four directions, and of these what is above the high threshold, or above the low one beside such a pixel.
/// Keeps its memory, some rows, for the next plane. One thread at a time.
class EdgeDetector {
public:
    /// The thresholds as the filter has them, 0 to 1 of 255, the low one not above the high one. Throws
    /// std::bad_alloc.
    void Detect(EdgeKind kind, EdgePlane const& plane, double low, double high);

private:
    std::vector<std::int16_t> m_memory;
};

} // namespace Tarsel::Proc
