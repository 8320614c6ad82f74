#pragma once

#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Tarsel::Proc {

/// The alpha of a picture, 0 to 1, on the grid of a plane of components that are subsampled by powers of two:
/// each number is the mean of the pixels that its sample covers. A picture without alpha is opaque. A view of
/// the frame. Rows may be asked for in any order; not synchronized.
class AlphaRows {
public:
    /// `frame` has no palette.
    AlphaRows(AVFrame const& frame, int shiftX, int shiftY);

    std::uint32_t GetWidth() const noexcept { return m_width; }
    std::uint32_t GetHeight() const noexcept { return m_height; }
    /// Row `y` of that grid; valid until the next one is asked for.
    float const* GetRow(std::uint32_t y);

private:
    /// Where there is alpha.
    std::optional<ComponentPlane> m_alpha;
    std::uint32_t m_pixelRows;
    int m_shiftX;
    int m_shiftY;
    std::uint32_t m_width;
    std::uint32_t m_height;
    std::vector<float> m_pixels;
    std::vector<float> m_row;
};

/// The same as a picture of 8-bit gray, 255 opaque. MemoryException.
SafeFrame MakeAlphaPlane(AVFrame const& frame, int shiftX, int shiftY);

/// Gives `to` the alpha of `from`, of the same size; a `to` without alpha stays as it is. The scaler's own
/// way from 8 to 16 bits leaves opaque pixels not quite opaque.
void CopyAlpha(AVFrame const& from, AVFrame& to);

/// Gives `data` the alpha of `input`, to the depth that it has: that of its colors where `input` has a
/// palette. Nothing happens where either has no alpha, or their sizes differ. MemoryException, then `data`
/// may have pixels of its own already.
void PutAlpha(IDataVideo const& input, IDataVideo& data);

} // namespace Tarsel::Proc
