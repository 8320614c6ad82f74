#pragma once

#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace Tarsel::Tools {

/// Red, green and blue.
using Color = std::array<std::uint8_t, 3>;

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(Size const&, Size const&) = default;
};

/// Pixels from the left and from the top.
struct Point {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};

/// A picture of packed RGB that is drawn on. What lies beyond its edges is not drawn. One thread at a time.
class RgbCanvas {
public:
    /// Of one color; both sides above 0. MemoryException.
    RgbCanvas(Size size, Color background);

    void Fill(Point at, Size size, Color color);
    /// A picture of packed RGB as it is.
    void Draw(Point at, Proc::IDataVideo const& picture);
    /// One line, each pixel of the font `scale` pixels wide.
    void Write(Point at, std::uint32_t scale, std::string_view text, Color color);

    SP<Proc::IDataVideo> const& GetPicture() const noexcept { return m_picture; }

private:
    SP<Proc::IDataVideo> m_picture;
    Proc::WritablePlane m_plane;
    Size m_size;
};

} // namespace Tarsel::Tools
