#pragma once

#include "Conf/Transform2D.h"
#include "Core/Api.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Tarsel::Conf {

/// A container's display matrix: nine 32-bit words as FFmpeg stores them (a, b, u, c, d, v, x, y, w; a to d,
/// x and y in 16.16 and u, v, w in 2.30 fixed point). A value, compared word by word; any thread.
struct TARSEL_API DisplayMatrix {
    std::array<std::int32_t, 9> words{0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};

    /// No transform.
    static DisplayMatrix const s_default;

    /// A clockwise rotation in degrees; none for an angle that is infinite or no number.
    static DisplayMatrix FromRotation(double degrees) noexcept;
    /// The matrix of an EXIF orientation code; nothing outside 1 to 8.
    static std::optional<DisplayMatrix> FromOrientation(int orientation) noexcept;

    /// Clockwise degrees by which a viewer has to turn the picture, in (−180, 180]; NaN for a singular
    /// matrix.
    double GetRotation() const noexcept;
    /// The EXIF Orientation code (1 to 8; CIPA DC-008, tag 274) of a matrix that only mirrors and turns by
    /// quarters, whatever its scale and offset; nothing for any other.
    std::optional<int> GetOrientation() const noexcept;
    Transform2D GetTransform() const noexcept;

    friend bool operator==(DisplayMatrix const&, DisplayMatrix const&) = default;
};

} // namespace Tarsel::Conf
