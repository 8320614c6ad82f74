#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// What a plane is made into.
enum class EmbossKind {
    /// A relief of a plane of bytes.
    Bytes,
    /// The same of 16-bit samples in the machine's byte order.
    Words,
    /// The relief of luma of limited range, stretched to the full range.
    StretchedBytes
};

/// A plane and its relief, which overlap nowhere; rows may lie at any address. Sizes and distances in pixels
/// of the plane.
struct EmbossedPlane {
    PlaneView from;
    MutablePlane to;
    std::size_t width;
    std::size_t height;
    /// How far to the right of a pixel, and below it, the one lies that is taken from it.
    std::size_t right;
    std::size_t below;
    /// How many columns at the right, and rows at the bottom, are never read, but the ones before them in
    /// their place: those of the linked filter, 1 in FFmpeg 5.1 and 0 in 7.1.
    std::size_t unread;
};

/// Whether the relief of such frames is what the filter makes of them: "geq" with the same expression for
/// luma and chroma and, with `toGray`, "format=gray" behind it. Planar YUV and gray of 8 bits, and of 10 bits
/// where they stay what they are; each plane has rows and columns that are read. Throws CoreException for a
/// format that FFmpeg does not know. Any thread.
bool CoversEmboss(Conf::PixFmt format, std::uint32_t width, std::uint32_t height, bool toGray,
                  std::size_t unread);

/// to(x, y) = (p(x, y) + 256 - p(x + right, y + below)) / 2, rounded to zero and cut to the size of a sample.
/// Coordinates beyond those that are read mean the last one that is, for both p. The plane has at least one.
/// Cannot fail, allocates nothing. Any thread. Source: the expression above, by
/// av_expr_parse's rules; stretching by ITU-T H.273: (255 (y - 16) + 109.5) / 219, rounded down and within 0
/// to 255.
void EmbossPlane(EmbossKind kind, EmbossedPlane const& plane) noexcept;

} // namespace Tarsel::Proc
