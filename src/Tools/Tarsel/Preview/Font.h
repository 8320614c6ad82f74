#pragma once

#include <array>
#include <cstdint>

namespace Tarsel::Tools {

constexpr std::uint32_t s_glyphWidth = 5;
constexpr std::uint32_t s_glyphHeight = 7;

/// A character of a font of fixed width: a bit for each pixel, the rows from top to bottom.
using Glyph = std::array<std::uint8_t, s_glyphHeight>;

/// That of an ASCII character; a box for others. Any thread.
Glyph const& FindGlyph(char character) noexcept;

} // namespace Tarsel::Tools
