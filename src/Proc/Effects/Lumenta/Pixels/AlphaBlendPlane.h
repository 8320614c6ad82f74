#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarsel::Proc {

/// A plane of pixels and the alpha of each. Strides are in bytes and may be negative; rows may lie anywhere.
struct BlendedPlane {
    std::uint8_t* pixels;
    std::ptrdiff_t stride;
    std::uint8_t const* alpha;
    std::ptrdiff_t alphaStride;
    std::size_t width;
    std::size_t height;
};

/// Blends every pixel in place towards the background, of which `background` has one value a component (1 to
/// 4, interleaved in the plane): c' = (c (a + 1) + (255 - a) k) >> 8. Rows top to bottom, pixels left to
/// right, also where pixels and alpha share memory. Cannot fail, allocates nothing. Any thread.
void BlendPlane(BlendedPlane const& plane, std::span<std::uint8_t const> background) noexcept;

} // namespace Tarsel::Proc
