#include "Tools/Tarsel/Preview/Canvas.h"

#include "Proc/Data/DataVideoFF.h"
#include "Tools/Tarsel/Preview/Font.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace Tarsel::Tools {
namespace {

std::ptrdiff_t OffsetOf(std::ptrdiff_t lineSize, Point at) {
    return static_cast<std::ptrdiff_t>(at.y) * lineSize + std::ptrdiff_t{3} * at.x;
}

/// How much of `length` from `begin` on lies before `end`.
std::uint32_t ClipLength(std::uint32_t begin, std::uint32_t length, std::uint32_t end) {
    return begin < end ? std::min(length, end - begin) : 0;
}

} // namespace

RgbCanvas::RgbCanvas(Size size, Color background)
    : m_picture(MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), Conf::PixFmt::RGB24,
                                          Conf::FrameInfo{size.width, size.height, 1, 1})),
      m_plane(m_picture->GetWritablePlane(0)), m_size(size) {
    Fill({}, size, background);
}

void RgbCanvas::Fill(Point at, Size size, Color color) {
    std::uint32_t const width = ClipLength(at.x, size.width, m_size.width);
    std::uint32_t const height = ClipLength(at.y, size.height, m_size.height);
    for (std::uint32_t row = 0; row < height; ++row) {
        std::uint8_t* pixel = m_plane.data + OffsetOf(m_plane.lineSize, {at.x, at.y + row});
        for (std::uint32_t column = 0; column < width; ++column)
            pixel = std::ranges::copy(color, pixel).out;
    }
}

void RgbCanvas::Draw(Point at, Proc::IDataVideo const& picture) {
    Proc::ReadOnlyPlane const from = picture.GetReadOnlyPlane(0);
    std::uint32_t const width = ClipLength(at.x, static_cast<std::uint32_t>(from.rowBytes / 3), m_size.width);
    std::uint32_t const height = ClipLength(at.y, from.rows, m_size.height);
    for (std::uint32_t row = 0; row < height; ++row)
        std::memcpy(m_plane.data + OffsetOf(m_plane.lineSize, {at.x, at.y + row}),
                    from.data + OffsetOf(from.lineSize, {0, row}), std::size_t{3} * width);
}

void RgbCanvas::Write(Point at, std::uint32_t scale, std::string_view text, Color color) {
    for (char const character : text) {
        Glyph const& glyph = FindGlyph(character);
        for (std::uint32_t row = 0; row < s_glyphHeight; ++row)
            for (std::uint32_t column = 0; column < s_glyphWidth; ++column)
                if ((glyph[row] >> (s_glyphWidth - 1 - column) & 1) != 0)
                    Fill({at.x + column * scale, at.y + row * scale}, {scale, scale}, color);
        at.x += (s_glyphWidth + 1) * scale;
    }
}

} // namespace Tarsel::Tools
