// Angles, sizes, shapes of pixels and matrices of any kind: results are finite, lie within what they are cut
// out of, and come back where there is a way back.

#include "Conf/DisplayMatrix.h"
#include "Fuzz/Fuzz.h"
#include "Proc/Effects/Lumenta/Picture/ResizePlan.h"
#include "Proc/Effects/Lumenta/Picture/RotateGeometry.h"

#include <array>
#include <cmath>
#include <numbers>

namespace Tarsel::Fuzz {
namespace {

constexpr double s_turn = 2 * std::numbers::pi;

std::uint32_t DrawSide(Draws& draws) {
    constexpr std::array<std::uint32_t, 4> most{8, 300, 70000, 0xFFFFFFFE};
    return draws.Between(1, draws.Pick(most));
}

Conf::FrameInfo DrawInfo(Draws& draws) {
    return {DrawSide(draws), DrawSide(draws), draws.OneIn(2) ? draws.Below(100) : draws(),
            draws.OneIn(2) ? draws.Below(100) : draws()};
}

void RequireRotation(Draws& draws) {
    double const angle = draws.OneIn(2) ? draws.Real() : draws() * s_turn / 0xFFFFFFFF;
    std::uint32_t const width = DrawSide(draws);
    std::uint32_t const height = DrawSide(draws);
    Proc::SplitAngle split;
    if (!Succeeds<Proc::EffectException>([&] { split = Proc::TakeApart(angle); }))
        return;
    Require(std::abs(split.angle) < 1.25 * s_turn + 1e-6 && std::abs(split.quarters) <= 3,
            "{} is taken for {} and {} quarters", angle, split.angle, split.quarters);
    Proc::PictureSize const pad = Proc::ComputeSizePad(width, height, split.angle);
    Proc::PictureSize const crop = Proc::ComputeSizeCrop(width, height, split.angle);
    Require(pad.width >= 1 && pad.height >= 1 && crop.width >= 0 && crop.height >= 0,
            "{}x{} turned by {} becomes {}x{} or {}x{}", width, height, angle, pad.width, pad.height,
            crop.width, crop.height);
    if (width > 100000 || height > 100000)
        return;
    std::array<Proc::Point, 4> corners;
    for (std::size_t i = 0; i < corners.size(); ++i)
        corners[i] = {(i % 2 == 0 ? -0.5 : 0.5) * crop.width, (i < 2 ? -0.5 : 0.5) * crop.height};
    Proc::RotatePoints(corners, -split.angle);
    for (Proc::Point const& corner : corners) // sides are rounded to the nearest
        Require(2 * std::abs(corner.x) < width + 0.75 && 2 * std::abs(corner.y) < height + 0.75,
                "{}x{} turned by {} is cut to {}x{}, beyond its edge", width, height, angle, crop.width,
                crop.height);
    Require(crop.width <= pad.width && crop.height <= pad.height, "{}x{} turned by {}: {}x{} within {}x{}",
            width, height, angle, crop.width, crop.height, pad.width, pad.height);
}

void RequireWithin(Proc::PictureRegion const& region, Conf::FrameInfo const& whole) {
    auto const fits = [](std::uint64_t at, std::uint64_t size, std::uint64_t most) {
        return size > 0 && at + size <= most;
    };
    Require(fits(region.x, region.width, whole.width) && fits(region.y, region.height, whole.height),
            "{}x{} at {},{} of {}x{}", region.width, region.height, region.x, region.y, whole.width,
            whole.height);
}

void RequireResize(Draws& draws) {
    std::unique_ptr<Proc::Settings> const settings = draws.DrawSettings(Proc::SettingsResizer());
    Conf::PixFmt const format = draws.Pick(Conf::PixFmtDescription::s_supportedFormats);
    Conf::FrameInfo const info = DrawInfo(draws);
    std::optional<Proc::ResizePlan> plan;
    if (!Succeeds<Proc::EffectException>([&] {
            plan = Proc::PlanResize(dynamic_cast<Proc::SettingsResizer const&>(*settings), format, info);
        }) ||
        !plan)
        return;
    RequireWithin(plan->source, info);
    RequireWithin(plan->target, plan->info);
}

void RequireOrientation(Draws& draws) {
    Conf::DisplayMatrix matrix;
    for (std::int32_t& word : matrix.words)
        if (draws.OneIn(2))
            word = static_cast<std::int32_t>(draws());
    double const turn = matrix.GetRotation();
    Require(std::isnan(turn) || (turn > -180 && turn <= 180), "a matrix turns by {}", turn);
    if (!std::isnan(turn)) {
        double const again = Conf::DisplayMatrix::FromRotation(turn).GetRotation();
        Require(std::abs(std::remainder(again - turn, 360)) < 0.01, "{} degrees come back as {}", turn,
                again);
    }
    Conf::Transform2D transform = matrix.GetTransform();
    if (draws.OneIn(2))
        transform = {draws.Real(), draws.Real(), draws.Real(), draws.Real()};
    if (auto const code = matrix.GetOrientation())
        Require(Conf::DisplayMatrix::FromOrientation(*code)->GetOrientation() == code,
                "another orientation than {}", *code);
    if (auto const code = transform.GetOrientation())
        Require(Conf::Transform2D::FromOrientation(*code)->GetOrientation() == code,
                "another orientation than {}", *code);
    for (bool const squarePixels : {false, true}) {
        Conf::FrameInfo const box = transform.GetBoundingBox(DrawInfo(draws), squarePixels);
        Require(box.width >= 1 && box.height >= 1, "a box of {}x{}", box.width, box.height);
    }
}

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    while (!draws.IsEmpty()) {
        Tarsel::Fuzz::RequireRotation(draws);
        Tarsel::Fuzz::RequireResize(draws);
        Tarsel::Fuzz::RequireOrientation(draws);
    }
}
