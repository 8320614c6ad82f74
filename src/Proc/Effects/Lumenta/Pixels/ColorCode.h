#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// The bits of a colour in the order of the octree: three bits a level, most significant level first, of each
/// level the green bit before the red and the blue one. The first 3 n bits of the code name the node of depth
/// n in which the colour lies. (Also known as Morton or Z-order.)
using ColorCode = std::uint32_t;

constexpr unsigned COLOR_CODE_BITS = 24;

/// Where the lowest bit of each component is.
constexpr unsigned GREEN_BIT = 2;
constexpr unsigned RED_BIT = 1;
constexpr unsigned BLUE_BIT = 0;

namespace Details {

/// The bits of a byte three places apart.
constexpr std::array<ColorCode, 256> SpreadBits(unsigned lowest) noexcept {
    std::array<ColorCode, 256> spread{};
    for (unsigned value = 0; value < spread.size(); ++value)
        for (unsigned bit = 0; bit < 8; ++bit)
            spread[value] |= (value >> bit & 1u) << (3 * bit + lowest);
    return spread;
}

} // namespace Details

/// The share of each component in the code.
inline constexpr std::array<ColorCode, 256> GREEN_CODE = Details::SpreadBits(GREEN_BIT);
inline constexpr std::array<ColorCode, 256> RED_CODE = Details::SpreadBits(RED_BIT);
inline constexpr std::array<ColorCode, 256> BLUE_CODE = Details::SpreadBits(BLUE_BIT);

constexpr ColorCode MakeColorCode(std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
    return GREEN_CODE[green] | RED_CODE[red] | BLUE_CODE[blue];
}

/// The component whose lowest bit is there.
constexpr std::uint8_t GetComponent(ColorCode code, unsigned lowest) noexcept {
    ColorCode bits = code >> lowest & 0x249249u;
    bits = (bits | bits >> 2) & 0x0C30C3u;
    bits = (bits | bits >> 4) & 0x00F00Fu;
    return static_cast<std::uint8_t>(bits | bits >> 8);
}

} // namespace Tarsel::Proc
