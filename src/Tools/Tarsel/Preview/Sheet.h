#pragma once

#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Tools/Tarsel/Preview/Canvas.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A picture of packed RGB and what stands above it.
struct Panel {
    SP<Proc::IDataVideo> picture;
    std::string label;
};

/// Between panels, and around them; pixels.
constexpr std::uint32_t s_sheetGap = 4;

/// Rows of panels as one picture of packed RGB: panels of a column share their left edge, those of a row
/// their top. A label stands light on dark above its panel, in as many lines as it takes; one word that is
/// wider than the panel is cut. `width` is that of the picture; 0: as much as it takes. At least one panel,
/// none null. MemoryException. Any thread.
SP<Proc::IDataVideo> DrawSheet(std::vector<std::vector<Panel>> const& rows, std::uint32_t width = 0);

/// Pixels of the font's pixels on a sheet of that width.
std::uint32_t ChooseTextScale(std::uint32_t sheetWidth) noexcept;

} // namespace Tarsel::Tools
