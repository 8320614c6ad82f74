#pragma once

#include <array>
#include <cstdint>

namespace Tarsel::Conf {

/// A color of 8 bits a component: full-range, non-linear (gamma-coded) RGB with straight alpha, 255 opaque.
struct PixColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    friend bool operator==(PixColor const&, PixColor const&) = default;
};

/// Values of the components of one pixel of some format, in that format's component order.
using PixComponents = std::array<std::uint8_t, 4>;

} // namespace Tarsel::Conf
