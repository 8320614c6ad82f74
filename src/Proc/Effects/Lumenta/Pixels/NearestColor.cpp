#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace Tarsel::Proc {
namespace {

constexpr int RED_WEIGHT = 3;
constexpr int GREEN_WEIGHT = 5;
constexpr int BLUE_WEIGHT = 2;

/// Cubes of 16x16x16 colours share a list of candidates, cubes of 4x4x4 are found at once.
constexpr unsigned BLOCK_BITS = 12;
constexpr unsigned CUBE_BITS = 6;
constexpr std::size_t CUBE_COLORS = std::size_t{1} << CUBE_BITS;

/// One component of a color code.
constexpr std::int16_t Component(ColorCode color, unsigned lowest) noexcept {
    unsigned value = 0;
    for (unsigned bit = 0; bit < 8; ++bit)
        value |= (color >> (3 * bit + lowest) & 1u) << bit;
    return static_cast<std::int16_t>(value);
}

constexpr std::int16_t Red(ColorCode color) noexcept {
    return Component(color, 1);
}
constexpr std::int16_t Green(ColorCode color) noexcept {
    return Component(color, 2);
}
constexpr std::int16_t Blue(ColorCode color) noexcept {
    return Component(color, 0);
}

/// A component of the colours of a cube in the order of their codes, less that of the first.
template <std::int16_t (*GetComponent)(ColorCode)>
constexpr std::array<std::int16_t, CUBE_COLORS> Offsets() noexcept {
    std::array<std::int16_t, CUBE_COLORS> offsets{};
    for (ColorCode color = 0; color < CUBE_COLORS; ++color)
        offsets[color] = GetComponent(color);
    return offsets;
}

constexpr auto RED_OFFSETS = Offsets<Red>();
constexpr auto GREEN_OFFSETS = Offsets<Green>();
constexpr auto BLUE_OFFSETS = Offsets<Blue>();

/// From a value to the values low to low + last: the least and the greatest difference.
int Near(int low, int last, int value) {
    return std::max({low - value, value - low - last, 0});
}
int Far(int low, int last, int value) {
    return std::max(low + last - value, value - low);
}

} // namespace

/// Colours from one to another `last` above it in every component.
struct NearestColors::Cube {
    Cube(ColorCode color, unsigned bits)
        : red(Red(color >> bits << bits)), green(Green(color >> bits << bits)),
          blue(Blue(color >> bits << bits)), last((1 << bits / 3) - 1) {}

    int NearDistance(Color const& to) const {
        return RED_WEIGHT * Near(red, last, to.red) + GREEN_WEIGHT * Near(green, last, to.green) +
               BLUE_WEIGHT * Near(blue, last, to.blue);
    }
    int FarDistance(Color const& to) const {
        return RED_WEIGHT * Far(red, last, to.red) + GREEN_WEIGHT * Far(green, last, to.green) +
               BLUE_WEIGHT * Far(blue, last, to.blue);
    }

    int red;
    int green;
    int blue;
    int last;
};

NearestColors::NearestColors(node_heap const& heap)
    : m_colors(heap.count), m_blocks(std::size_t{1} << (COLOR_CODE_BITS - BLOCK_BITS)),
      m_nearest(std::size_t{1} << COLOR_CODE_BITS) {
    for (std::size_t i = 1; i < m_colors.size(); ++i) {
        oct_node_t const& node = *heap.slots[i].node;
        m_colors[i] = {static_cast<std::int16_t>(node.r), static_cast<std::int16_t>(node.g),
                       static_cast<std::int16_t>(node.b)};
    }
}

/// Keeps those of the candidates, in their order, that may be the nearest of some colour of the cube: a
/// colour whose nearest point is farther away than another colour's farthest point cannot.
template <class Keep>
void NearestColors::Prune(Cube const& cube, std::span<std::uint8_t const> candidates,
                          Keep const& keep) const {
    int bound = std::numeric_limits<int>::max();
    for (std::uint8_t const candidate : candidates)
        bound = std::min(bound, cube.FarDistance(m_colors[candidate]));
    for (std::uint8_t const candidate : candidates)
        if (cube.NearDistance(m_colors[candidate]) <= bound)
            keep(candidate);
}

std::span<std::uint8_t const> NearestColors::CandidatesAround(ColorCode color) {
    Block& block = m_blocks[color >> BLOCK_BITS];
    if (block.count == 0) {
        std::array<std::uint8_t, 255> all;
        std::iota(all.begin(), all.end(), std::uint8_t{1});
        block.first = static_cast<std::uint32_t>(m_candidates.size());
        Prune(Cube(color, BLOCK_BITS), std::span(all).first(m_colors.size() - 1),
              [this](std::uint8_t candidate) { m_candidates.push_back(candidate); });
        block.count = static_cast<std::uint32_t>(m_candidates.size()) - block.first;
    }
    return std::span(m_candidates).subspan(block.first, block.count);
}

std::uint8_t NearestColors::FindAround(ColorCode color) {
    Cube const cube(color, CUBE_BITS);
    std::array<std::int16_t, CUBE_COLORS> best;
    best.fill(std::numeric_limits<std::int16_t>::max());
    std::array<std::int16_t, CUBE_COLORS> nearest{};
    Prune(cube, CandidatesAround(color), [&](std::uint8_t candidate) {
        Color const& to = m_colors[candidate];
        for (std::size_t i = 0; i < CUBE_COLORS; ++i) {
            auto const distance =
                static_cast<std::int16_t>(RED_WEIGHT * std::abs(cube.red + RED_OFFSETS[i] - to.red) +
                                          GREEN_WEIGHT * std::abs(cube.green + GREEN_OFFSETS[i] - to.green) +
                                          BLUE_WEIGHT * std::abs(cube.blue + BLUE_OFFSETS[i] - to.blue));
            nearest[i] = distance < best[i] ? candidate : nearest[i];
            best[i] = std::min(best[i], distance);
        }
    });
    ColorCode const first = color >> CUBE_BITS << CUBE_BITS;
    for (std::size_t i = 0; i < CUBE_COLORS; ++i)
        m_nearest[first + i] = static_cast<std::uint8_t>(nearest[i]);
    return m_nearest[color];
}

} // namespace Tarsel::Proc
