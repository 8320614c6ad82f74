#pragma once

#include "Conf/FrameInfo.h"
#include "Core/Api.h"

#include <optional>

namespace Tarsel::Conf {

/// The linear part of a 2-D transform of pictures: x' = a·x + c·y, y' = b·x + d·y, x to the right, y down,
/// lengths in square pixels. A value; any thread.
struct TARSEL_API Transform2D {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;

    /// The transform of an EXIF orientation code (CIPA DC-008, tag 274); nothing outside 1 to 8.
    static std::optional<Transform2D> FromOrientation(int orientation) noexcept;
    /// The EXIF orientation code of a transform that only exchanges and mirrors the axes, whatever its scale;
    /// nothing for any other. An axis may be off by a thousandth of the scale (0.06 degrees).
    std::optional<int> GetOrientation() const noexcept;

    /// The axis-aligned box around the transformed frame.
    /// `squarePixels` false keeps the pixel grid where GetOrientation() has a value: sizes exact and not
    /// scaled, aspect terms exchanged with the axes. In every other case lengths are taken with the pixel
    /// aspect, rounded to the nearest whole pixel, at least 1, and the box's pixels are square (1:1).
    FrameInfo GetBoundingBox(FrameInfo const& frame, bool squarePixels) const noexcept;

    friend bool operator==(Transform2D const&, Transform2D const&) = default;
};

} // namespace Tarsel::Conf
