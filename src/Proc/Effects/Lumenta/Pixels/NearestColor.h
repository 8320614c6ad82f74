#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarsel::Proc {

/// How much a difference counts: the distance of two colors is 3 |red| + 5 |green| + 2 |blue|.
constexpr int s_redWeight = 3;
constexpr int s_greenWeight = 5;
constexpr int s_blueWeight = 2;

/// Colors of a palette in rows, one number a color: each component times its weight. What is behind the
/// last color is farther away than any.
struct PaletteRows {
    using Row = std::array<std::int16_t, 256>;

    explicit PaletteRows(std::span<Rgb const> palette) noexcept;

    std::size_t count;
    Row red;
    Row green;
    Row blue;
};

/// The place, from 1 on, of the color with the least distance; of several the first one. Any thread.
std::uint8_t FindNearest(PaletteRows const& palette, Rgb color) noexcept;

/// For every color the nearest one of a palette: found when first asked for, and kept. Not synchronized.
class NearestColors {
public:
    /// 1 to 255 colors; they are copied. std::bad_alloc.
    explicit NearestColors(std::span<Rgb const> palette);

    PaletteRows const palette;
    /// By color code: the place of the nearest, 0 where nobody has asked yet.
    ZeroedArray<std::uint8_t> known;
};

/// As FindNearest.
inline std::uint8_t nearest_color(NearestColors& colors, Rgb color) noexcept {
    std::uint8_t& place = colors.known[MakeColorCode(color)];
    if (place == 0)
        place = FindNearest(colors.palette, color);
    return place;
}

} // namespace Tarsel::Proc
