#pragma once

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Rows of bytes in memory that belongs to someone else; the stride is in bytes and may be negative.
template <class Byte>
struct Plane {
    Byte* first;
    std::ptrdiff_t stride;

    Byte* Row(std::size_t y) const noexcept { return first + static_cast<std::ptrdiff_t>(y) * stride; }
};

using PlaneView = Plane<std::uint8_t const>;
using MutablePlane = Plane<std::uint8_t>;

} // namespace Tarsel::Proc
