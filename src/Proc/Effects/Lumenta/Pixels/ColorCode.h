#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// An opaque color of 8 bits a component.
struct Rgb {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

/// The bits of a color in the order of the octree: three bits a level, most significant level first, of each
/// level the green bit before the red and the blue one. The first 3 n bits of the code name the node of depth
/// n in which the color lies. (Also known as Morton or Z-order.)
using ColorCode = std::uint32_t;

constexpr unsigned s_colorCodeBits = 24;

/// Where the lowest bit of each component is.
constexpr unsigned s_greenBit = 2;
constexpr unsigned s_redBit = 1;
constexpr unsigned s_blueBit = 0;

namespace Details {

/// The bits of a byte three places apart.
constexpr std::array<ColorCode, 256> SpreadBits(unsigned lowest) noexcept {
    std::array<ColorCode, 256> spread{};
    for (unsigned value = 0; value < spread.size(); ++value)
        for (unsigned bit = 0; bit < 8; ++bit)
            spread[value] |= (value >> bit & 1u) << (3 * bit + lowest);
    return spread;
}

/// The share of each component in the code.
inline constexpr std::array<ColorCode, 256> s_greenCode = SpreadBits(s_greenBit);
inline constexpr std::array<ColorCode, 256> s_redCode = SpreadBits(s_redBit);
inline constexpr std::array<ColorCode, 256> s_blueCode = SpreadBits(s_blueBit);

} // namespace Details

constexpr ColorCode MakeColorCode(Rgb color) noexcept {
    return Details::s_greenCode[color.green] | Details::s_redCode[color.red] |
           Details::s_blueCode[color.blue];
}

/// The component whose lowest bit is there.
constexpr std::uint8_t GetComponent(ColorCode code, unsigned lowest) noexcept {
    ColorCode bits = code >> lowest & 0x249249u;
    bits = (bits | bits >> 2) & 0x0C30C3u;
    bits = (bits | bits >> 4) & 0x00F00Fu;
    return static_cast<std::uint8_t>(bits | bits >> 8);
}

constexpr Rgb GetColor(ColorCode code) noexcept {
    return {GetComponent(code, s_redBit), GetComponent(code, s_greenBit), GetComponent(code, s_blueBit)};
}

} // namespace Tarsel::Proc
