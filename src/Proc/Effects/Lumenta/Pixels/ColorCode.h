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

/// Levels of the octree below its root: the least significant bit of a component makes no difference.
constexpr unsigned TREE_DEPTH = 7;

/// The part of a code that names a leaf of the octree, a cell of 2x2x2 colours.
constexpr ColorCode CellOf(ColorCode code) noexcept {
    return code >> (COLOR_CODE_BITS - 3 * TREE_DEPTH);
}

constexpr std::size_t CELL_COUNT = std::size_t{1} << (3 * TREE_DEPTH);

namespace Details {

/// The bits of a byte three places apart, the lowest at `lowest`.
constexpr std::array<ColorCode, 256> SpreadBits(unsigned lowest) noexcept {
    std::array<ColorCode, 256> spread{};
    for (unsigned value = 0; value < spread.size(); ++value)
        for (unsigned bit = 0; bit < 8; ++bit)
            spread[value] |= (value >> bit & 1u) << (3 * bit + lowest);
    return spread;
}

} // namespace Details

/// The share of each component in the code.
inline constexpr std::array<ColorCode, 256> GREEN_CODE = Details::SpreadBits(2);
inline constexpr std::array<ColorCode, 256> RED_CODE = Details::SpreadBits(1);
inline constexpr std::array<ColorCode, 256> BLUE_CODE = Details::SpreadBits(0);

constexpr ColorCode MakeColorCode(std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
    return GREEN_CODE[green] | RED_CODE[red] | BLUE_CODE[blue];
}

} // namespace Tarsel::Proc
