#include "Proc/Effects/Lumenta/Pixels/NearestSearch.h"

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"

#include <array>
#include <limits>

// Highway compiles this file once for every instruction set.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Proc/Effects/Lumenta/Pixels/NearestSearch.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Tarsel::Proc::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t CUBE_COLORS = std::size_t{1} << CubeDirectory::COLOR_BITS;
constexpr std::size_t MAX_CANDIDATES = 256;
constexpr std::int16_t MAX_DISTANCE = std::numeric_limits<std::int16_t>::max();

/// A component of the colours of a cube in the order of their codes, less that of the first and weighted as
/// those of candidates.
using Offsets = std::array<std::int16_t, CUBE_COLORS>;

constexpr Offsets MakeOffsets(int weight, unsigned lowestBit) noexcept {
    Offsets offsets{};
    for (ColorCode color = 0; color < CUBE_COLORS; ++color)
        offsets[color] = static_cast<std::int16_t>(2 * weight * GetComponent(color, lowestBit));
    return offsets;
}

constexpr Offsets RED_OFFSETS = MakeOffsets(RED_WEIGHT, RED_BIT);
constexpr Offsets GREEN_OFFSETS = MakeOffsets(GREEN_WEIGHT, GREEN_BIT);
constexpr Offsets BLUE_OFFSETS = MakeOffsets(BLUE_WEIGHT, BLUE_BIT);

template <class Tag>
HWY_INLINE hn::Vec<Tag> SetNumber(Tag tag, int number) {
    return hn::Set(tag, static_cast<std::int16_t>(number));
}

std::size_t FindPossiblePositions(CandidateRows const& candidates, Rgb first, int last,
                                  std::uint16_t* positions) {
    constexpr hn::CappedTag<std::int16_t, CANDIDATE_LANES> numbers;
    using Numbers = hn::Vec<decltype(numbers)>;
    // With t the distance along one axis to the middle of the cube, and h half its edge, t + h is that to the
    // farthest and max(t, h) - h that to the nearest point; all are doubled and weighted.
    Numbers const redMiddle = SetNumber(numbers, RED_WEIGHT * (2 * first.red + last));
    Numbers const greenMiddle = SetNumber(numbers, GREEN_WEIGHT * (2 * first.green + last));
    Numbers const blueMiddle = SetNumber(numbers, BLUE_WEIGHT * (2 * first.blue + last));
    Numbers const redHalf = SetNumber(numbers, RED_WEIGHT * last);
    Numbers const greenHalf = SetNumber(numbers, GREEN_WEIGHT * last);
    Numbers const blueHalf = SetNumber(numbers, BLUE_WEIGHT * last);

    HWY_ALIGN std::int16_t near[MAX_CANDIDATES];
    Numbers leastFar = SetNumber(numbers, MAX_DISTANCE);
    for (std::size_t i = 0; i < candidates.count; i += hn::Lanes(numbers)) {
        Numbers const red = hn::Abs(hn::Sub(hn::LoadU(numbers, candidates.red + i), redMiddle));
        Numbers const green = hn::Abs(hn::Sub(hn::LoadU(numbers, candidates.green + i), greenMiddle));
        Numbers const blue = hn::Abs(hn::Sub(hn::LoadU(numbers, candidates.blue + i), blueMiddle));
        leastFar = hn::Min(leastFar, hn::Add(hn::Add(red, green), blue));
        hn::Store(hn::Add(hn::Add(hn::Max(red, redHalf), hn::Max(green, greenHalf)), hn::Max(blue, blueHalf)),
                  numbers, near + i);
    }
    int const halves = (RED_WEIGHT + GREEN_WEIGHT + BLUE_WEIGHT) * last;
    int const limit = hn::GetLane(hn::MinOfLanes(numbers, leastFar)) + 2 * halves;
    std::size_t count = 0;
    for (std::size_t i = 0; i < candidates.count; ++i) {
        positions[count] = static_cast<std::uint16_t>(i);
        count += near[i] <= limit ? 1 : 0;
    }
    return count;
}

void FindNearestIndices(CandidateRows const& candidates, std::span<std::uint16_t const> positions, Rgb first,
                        std::uint8_t* nearest) {
    constexpr hn::CappedTag<std::int16_t, CUBE_COLORS> numbers;
    constexpr hn::Rebind<std::uint8_t, decltype(numbers)> indices;
    using Numbers = hn::Vec<decltype(numbers)>;
    Numbers const firstRed = SetNumber(numbers, 2 * RED_WEIGHT * first.red);
    Numbers const firstGreen = SetNumber(numbers, 2 * GREEN_WEIGHT * first.green);
    Numbers const firstBlue = SetNumber(numbers, 2 * BLUE_WEIGHT * first.blue);
    for (std::size_t i = 0; i < CUBE_COLORS; i += hn::Lanes(numbers)) {
        Numbers const red = hn::Add(firstRed, hn::LoadU(numbers, RED_OFFSETS.data() + i));
        Numbers const green = hn::Add(firstGreen, hn::LoadU(numbers, GREEN_OFFSETS.data() + i));
        Numbers const blue = hn::Add(firstBlue, hn::LoadU(numbers, BLUE_OFFSETS.data() + i));
        Numbers least = SetNumber(numbers, MAX_DISTANCE);
        Numbers index = hn::Zero(numbers);
        for (std::uint16_t const at : positions) {
            Numbers const redError = hn::Abs(hn::Sub(red, hn::Set(numbers, candidates.red[at])));
            Numbers const greenError = hn::Abs(hn::Sub(green, hn::Set(numbers, candidates.green[at])));
            Numbers const blueError = hn::Abs(hn::Sub(blue, hn::Set(numbers, candidates.blue[at])));
            Numbers const distance = hn::Add(hn::Add(redError, greenError), blueError);
            index = hn::IfThenElse(hn::Lt(distance, least), hn::Set(numbers, candidates.index[at]), index);
            least = hn::Min(least, distance);
        }
        hn::StoreU(hn::DemoteTo(indices, index), indices, nearest + i);
    }
}

} // namespace
} // namespace Tarsel::Proc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Tarsel::Proc {

HWY_EXPORT(FindPossiblePositions);
HWY_EXPORT(FindNearestIndices);

std::size_t FindPossible(CandidateRows const& candidates, Rgb first, int last,
                         std::uint16_t* positions) noexcept {
    return HWY_DYNAMIC_DISPATCH(FindPossiblePositions)(candidates, first, last, positions);
}

void FindNearest(CandidateRows const& candidates, std::span<std::uint16_t const> positions, Rgb first,
                 std::uint8_t* nearest) noexcept {
    HWY_DYNAMIC_DISPATCH(FindNearestIndices)(candidates, positions, first, nearest);
}

} // namespace Tarsel::Proc
#endif
