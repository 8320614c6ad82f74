#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarsel::Proc {

/// The colours of a palette, and for every colour which of them is the nearest: found when first asked for,
/// for all colours around it at once, and kept. Not synchronised.
class NearestColors {
public:
    /// The averages of the heap's nodes, 1 to 255 of them, each with its place as its index.
    /// MemoryException, std::bad_alloc.
    explicit NearestColors(node_heap const& heap);

private:
    friend std::uint8_t nearest_color(NearestColors& colors, ColorCode color);

    struct Color {
        std::int16_t red;
        std::int16_t green;
        std::int16_t blue;
    };

    /// A cube of colours in which only some of the palette's can be the nearest.
    struct Block {
        std::uint32_t first;
        std::uint32_t count;
    };

    struct Cube;

    std::uint8_t FindAround(ColorCode color);
    std::span<std::uint8_t const> CandidatesAround(ColorCode color);
    template <class Keep>
    void Prune(Cube const& cube, std::span<std::uint8_t const> candidates, Keep const& keep) const;

    std::vector<Color> m_colors;
    std::vector<std::uint8_t> m_candidates;
    std::vector<Block> m_blocks;
    /// By color code; 0 where nobody has asked yet.
    ZeroedArray<std::uint8_t> m_nearest;
};

/// Index of the colour with the least distance 3 |red| + 5 |green| + 2 |blue|; of several the first one.
/// std::bad_alloc.
inline std::uint8_t nearest_color(NearestColors& colors, ColorCode color) {
    std::uint8_t const nearest = colors.m_nearest[color];
    return nearest != 0 ? nearest : colors.FindAround(color);
}

} // namespace Tarsel::Proc
