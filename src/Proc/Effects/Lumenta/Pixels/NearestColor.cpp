#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"

namespace Tarsel::Proc {
namespace {

/// Bits of a color code that tell the colours of one block apart.
constexpr unsigned BLOCK_BITS = 12;

using Positions = std::array<std::uint16_t, 256>;

/// The colour of the cube (of so many bits) around a colour that has the least components.
Rgb FirstAround(ColorCode color, unsigned bits) noexcept {
    ColorCode const first = color >> bits << bits;
    return {GetComponent(first, RED_BIT), GetComponent(first, GREEN_BIT), GetComponent(first, BLUE_BIT)};
}

/// Candidates that may be nearest to a colour of this cube.
std::span<std::uint16_t const> FindPossibleAround(ColorCode color, unsigned bits,
                                                  CandidateRows const& candidates,
                                                  Positions& positions) noexcept {
    int const last = (1 << bits / 3) - 1;
    return {positions.data(), FindPossible(candidates, FirstAround(color, bits), last, positions.data())};
}

} // namespace

NearestColors::NearestColors(std::span<Rgb const> palette)
    : m_palette(palette), m_blocks(std::size_t{1} << (COLOR_CODE_BITS - BLOCK_BITS)),
      m_nearest(CubeDirectory::MAX_CUBES + 1) {}

NearestCandidates const& NearestColors::GetBlock(ColorCode color) {
    NearestCandidates& block = m_blocks[color >> BLOCK_BITS];
    if (block.IsEmpty()) {
        Positions positions;
        block = m_palette.Select(FindPossibleAround(color, BLOCK_BITS, m_palette.GetRows(), positions));
    }
    return block;
}

std::uint32_t NearestColors::AddCube(ColorCode color) {
    CandidateRows const candidates = GetBlock(color).GetRows();
    Positions positions;
    auto const possible = FindPossibleAround(color, CubeDirectory::COLOR_BITS, candidates, positions);
    std::uint32_t const cube = m_cubes.Add(color);
    if (possible.size() == 1)
        m_nearest[cube].fill(static_cast<std::uint8_t>(candidates.index[possible[0]]));
    else
        FindNearest(candidates, possible, FirstAround(color, CubeDirectory::COLOR_BITS),
                    m_nearest[cube].data());
    return cube;
}

} // namespace Tarsel::Proc
