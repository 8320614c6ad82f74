#pragma once

#include <array>
#include <cstdint>
#include <span>

/// Where the corners of a picture go when it is turned. Angles are in radians, clockwise as seen (y runs
/// down); lengths are in pixels. Pure functions; any thread. The algorithms are this system's own.
namespace Tarsel::Proc {

/// In pixels.
struct Point {
    double x = 0;
    double y = 0;
};

/// In whole pixels.
struct PictureSize {
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend bool operator==(PictureSize const&, PictureSize const&) = default;
};

/// An angle as filters are told it.
struct SplitAngle {
    /// Without the whole turns that `quarters` has.
    double angle = 0;
    /// Quarter turns beyond the whole ones, −3 to 3, with the sign of the angle given.
    std::int32_t quarters = 0;
    /// Whether the angle is no further than 1e-7 from those quarter turns.
    bool isWhole = false;
};

/// Takes the whole turns out of an angle. EffectException for one of more quarter turns than 32 bits hold,
/// and for NaN.
SplitAngle TakeApart(double angle);

/// Turns each point about the origin, in place.
void RotatePoints(std::span<Point> points, double angle);

/// The corner of the largest box with the proportions `box` that is centered at the origin and touches the
/// line through two points, which differ. No component of `box` is 0.
Point ComputePointCrop(Point const& box, Point const& first, Point const& second);

/// The box around a turned picture, rounded up to even sizes.
PictureSize ComputeSizePad(std::uint32_t width, std::uint32_t height, double angle);

/// The largest box of the picture's proportions (of its height to its width where the turn is nearer to a
/// quarter) that lies inside a turned picture, rounded down to even sizes: 0 is possible. Neither side of the
/// picture is 0.
PictureSize ComputeSizeCrop(std::uint32_t width, std::uint32_t height, double angle);

} // namespace Tarsel::Proc
