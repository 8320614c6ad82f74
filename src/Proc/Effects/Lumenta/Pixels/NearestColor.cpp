#include "Proc/Effects/Lumenta/Pixels/NearestColor.h"

#include <limits>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/NearestColor.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Number = std::int16_t;
using NumberTag = hn::CappedTag<Number, 32>;
using Numbers = hn::Vec<NumberTag>;

constexpr Number s_beyond = std::numeric_limits<Number>::max();

HWY_INLINE Numbers Differences(Number const* row, Numbers wanted) {
    return hn::Abs(hn::Sub(hn::LoadU(NumberTag(), row), wanted));
}

std::uint8_t FindPlace(PaletteRows const& palette, Rgb color) {
    constexpr NumberTag numbers;
    std::size_t const lanes = hn::Lanes(numbers);
    Numbers const red = hn::Set(numbers, static_cast<Number>(s_redWeight * color.red));
    Numbers const green = hn::Set(numbers, static_cast<Number>(s_greenWeight * color.green));
    Numbers const blue = hn::Set(numbers, static_cast<Number>(s_blueWeight * color.blue));
    Numbers const step = hn::Set(numbers, static_cast<Number>(lanes));

    // Each lane keeps the first of the colors that it sees that is nearest; then the first of the lanes'
    // counts.
    Numbers place = hn::Iota(numbers, 1);
    Numbers nearest = hn::Zero(numbers);
    Numbers least = hn::Set(numbers, s_beyond);
    for (std::size_t i = 0; i < palette.count; i += lanes) {
        Numbers const redError = Differences(palette.red.data() + i, red);
        Numbers const greenError = Differences(palette.green.data() + i, green);
        Numbers const blueError = Differences(palette.blue.data() + i, blue);
        Numbers const distance = hn::Add(hn::Add(redError, greenError), blueError);
        nearest = hn::IfThenElse(hn::Lt(distance, least), place, nearest);
        least = hn::Min(least, distance);
        place = hn::Add(place, step);
    }
    auto const isLeast = hn::Eq(least, hn::MinOfLanes(numbers, least));
    Numbers const candidates = hn::IfThenElse(isLeast, nearest, hn::Set(numbers, s_beyond));
    return static_cast<std::uint8_t>(hn::GetLane(hn::MinOfLanes(numbers, candidates)));
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {
namespace {

/// More than any distance, also in a sum of three.
constexpr std::int16_t s_farAway = 8000;
static_assert(s_farAway > 255 * (s_redWeight + 2 * s_greenWeight + s_blueWeight) &&
              3 * s_farAway < std::numeric_limits<std::int16_t>::max());

} // namespace

HWY_EXPORT(FindPlace);

std::uint8_t FindNearest(PaletteRows const& palette, Rgb color) noexcept {
    return HWY_DYNAMIC_DISPATCH(FindPlace)(palette, color);
}

PaletteRows::PaletteRows(std::span<Rgb const> palette) noexcept : count(palette.size()) {
    for (Row* const row : {&red, &green, &blue})
        row->fill(s_farAway);
    for (std::size_t i = 0; i < count; ++i) {
        red[i] = static_cast<std::int16_t>(s_redWeight * palette[i].red);
        green[i] = static_cast<std::int16_t>(s_greenWeight * palette[i].green);
        blue[i] = static_cast<std::int16_t>(s_blueWeight * palette[i].blue);
    }
}

NearestColors::NearestColors(std::span<Rgb const> colors)
    : palette(colors), known(std::size_t{1} << s_colorCodeBits) {}

} // namespace Tarsel::Proc
#endif
