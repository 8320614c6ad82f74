#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/CubeDirectory.h"
#include "Proc/Effects/Lumenta/Pixels/NearestCandidates.h"
#include "Proc/Effects/Lumenta/Pixels/Rgb.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tarsel::Proc {

/// For every colour the nearest one of a palette: found when first asked for, for all colours of a small cube
/// at once, and kept. Not synchronised.
class NearestColors {
public:
    /// 1 to 255 colours, which have the indices from 1 on; they are copied. MemoryException, std::bad_alloc.
    explicit NearestColors(std::span<Rgb const> palette);

private:
    friend std::uint8_t nearest_color(NearestColors& colors, ColorCode color);

    std::uint32_t AddCube(ColorCode color);
    NearestCandidates const& GetBlock(ColorCode color);

    NearestCandidates m_palette;
    /// By the leading bits of a color code: the candidates of a cube of 16x16x16 colours.
    std::vector<NearestCandidates> m_blocks;
    CubeDirectory m_cubes;
    /// By cube, of each of its colours.
    ZeroedArray<std::array<std::uint8_t, std::size_t{1} << CubeDirectory::COLOR_BITS>> m_nearest;
};

/// Index of the colour with the least distance 3 |red| + 5 |green| + 2 |blue|; of several the first one.
/// std::bad_alloc.
inline std::uint8_t nearest_color(NearestColors& colors, ColorCode color) {
    std::uint32_t cube = colors.m_cubes.Find(color);
    if (cube == CubeDirectory::NONE)
        cube = colors.AddCube(color);
    return colors.m_nearest[cube][color % colors.m_nearest[cube].size()];
}

} // namespace Tarsel::Proc
