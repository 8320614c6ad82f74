#include "Conf/Transform2D.h"

#include "Core/Saturate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Tarsel::Conf {

namespace {

/// EXIF orientations 1 to 8 in order (CIPA DC-008, tag 274).
constexpr std::array<Transform2D, 8> s_orientations{{
    {1, 0, 0, 1},
    {-1, 0, 0, 1},
    {-1, 0, 0, -1},
    {1, 0, 0, -1},
    {0, 1, 1, 0},
    {0, 1, -1, 0},
    {0, -1, -1, 0},
    {0, -1, 1, 0},
}};

/// The first of those that exchange the axes.
constexpr int s_firstExchanging = 5;

/// How far off an axis counts as on it, relative to the scale: two pixels over a picture 2000 pixels wide.
constexpr double s_offAxis = 1e-3;

std::uint32_t WholePixels(double length) noexcept {
    return std::max(Core::Saturate<std::uint32_t>(std::round(length)), 1u);
}

} // namespace

std::optional<Transform2D> Transform2D::FromOrientation(int orientation) noexcept {
    if (orientation < 1 || orientation > static_cast<int>(s_orientations.size()))
        return std::nullopt;
    return s_orientations[static_cast<std::size_t>(orientation) - 1];
}

std::optional<int> Transform2D::GetOrientation() const noexcept {
    double const straight = std::min(std::abs(a), std::abs(d));
    double const crossed = std::min(std::abs(b), std::abs(c));
    double const nought = s_offAxis * std::max(straight, crossed);
    auto const sign = [nought](double term) { return double((term > nought) - (term < -nought)); };
    auto const found = std::find(s_orientations.begin(), s_orientations.end(),
                                 Transform2D{sign(a), sign(b), sign(c), sign(d)});
    if (found == s_orientations.end())
        return std::nullopt;
    return static_cast<int>(found - s_orientations.begin()) + 1;
}

FrameInfo Transform2D::GetBoundingBox(FrameInfo const& frame, bool squarePixels) const noexcept {
    FrameInfo const shown = WithDefinedAspect(frame);
    std::optional<int> const orientation = squarePixels ? std::nullopt : GetOrientation();
    if (orientation) {
        if (*orientation < s_firstExchanging)
            return shown;
        return WithDefinedAspect({shown.height, shown.width, shown.aspectDen, shown.aspectNum});
    }
    double const pixelWidth = shown.aspectNum == 0 ? 1.0 : double(shown.aspectNum) / shown.aspectDen;
    double const width = shown.width * pixelWidth;
    double const height = shown.height;
    return {WholePixels(std::abs(a) * width + std::abs(c) * height),
            WholePixels(std::abs(b) * width + std::abs(d) * height), 1, 1};
}

} // namespace Tarsel::Conf
