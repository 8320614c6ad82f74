#include "Proc/Effects/Lumenta/Picture/RotateGeometry.h"

#include "Core/Saturate.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Tarsel::Proc {
namespace {

constexpr double s_pi = std::numbers::pi;
constexpr double s_quarterTurn = s_pi / 2;
/// How far from a quarter turn an angle may lie and still count as one.
constexpr double s_tolerance = 1e-7;

/// To the nearest whole number. Lengths come from sides of 32 bits: they fit.
std::int64_t Round(double length) {
    return Core::Saturate<std::int64_t>(length + 0.5);
}

/// The larger of the extents of both diagonals on one axis, as an even size.
std::int32_t MakePadSide(double first, double second) {
    std::int64_t const side = Round(std::max(std::abs(first), std::abs(second)));
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(side + side % 2, std::numeric_limits<std::int32_t>::max()));
}

std::int32_t MakeCropSide(double half) {
    std::int64_t const side = Round(2 * half);
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(side - side % 2, std::numeric_limits<std::int32_t>::max()));
}

Point Swap(Point const& point) {
    return {point.y, point.x};
}

} // namespace

SplitAngle TakeApart(double angle) {
    using Limits = std::numeric_limits<std::int32_t>;
    double const turns = angle / s_quarterTurn;
    double const nearest = std::round(turns);
    bool const isWhole = std::abs(angle - nearest * s_quarterTurn) <= s_tolerance;
    double const count = isWhole ? nearest : std::trunc(turns + 0.5);
    if (!(count >= Limits::min() && count <= Limits::max()))
        Core::Throw<EffectException>(
            fmt::format("Cannot rotate by {:g} degrees: quarter turns are counted from {} to {}",
                        angle * 180 / s_pi, Limits::min(), Limits::max()));
    auto const quarters = static_cast<std::int32_t>(count);
    std::int32_t const turnsLeftOut = quarters / 4;
    return {angle - turnsLeftOut * (2 * s_pi), quarters % 4, isWhole};
}

void RotatePoints(std::span<Point> points, double angle) {
    double const sine = std::sin(angle);
    double const cosine = std::cos(angle);
    for (Point& point : points)
        point = {std::fma(point.x, cosine, -(point.y * sine)), std::fma(point.x, sine, point.y * cosine)};
}

Point ComputePointCrop(Point const& box, Point const& first, Point const& second) {
    double const run = second.x - first.x;
    double const rise = second.y - first.y;
    if (std::abs(run) < std::abs(rise))
        return Swap(ComputePointCrop(Swap(box), Swap(first), Swap(second)));
    double const slope = rise / run;
    double const intercept = std::abs(first.y - slope * first.x);
    double const proportion = std::abs(box.y / box.x);
    double const x = intercept / (std::abs(slope) + proportion);
    return {x, proportion * x};
}

PictureSize ComputeSizePad(std::uint32_t width, std::uint32_t height, double angle) {
    double const right = width;
    double const bottom = height;
    std::array corners{Point{0, 0}, Point{0, bottom}, Point{right, 0}, Point{right, bottom}};
    RotatePoints(corners, angle);
    return {MakePadSide(corners[0].x - corners[3].x, corners[1].x - corners[2].x),
            MakePadSide(corners[0].y - corners[3].y, corners[1].y - corners[2].y)};
}

PictureSize ComputeSizeCrop(std::uint32_t width, std::uint32_t height, double angle) {
    Point const half{width * 0.5, height * 0.5};
    std::array points{Point{0, half.y}, Point{half.x, 0}, half};
    RotatePoints(points, angle);
    auto const& [below, beside, corner] = points;
    Point const box = std::tan(angle + s_pi / 4) < 0 ? Swap(half) : half;
    Point const first = ComputePointCrop(box, below, corner);
    Point const second = ComputePointCrop(box, beside, corner);
    Point const nearer = first.x < second.x ? first : second;
    return {MakeCropSide(nearer.x), MakeCropSide(nearer.y)};
}

} // namespace Tarsel::Proc
