#pragma once

#include "Proc/Effects/Lumenta/Pixels/CubeDirectory.h"
#include "Proc/Effects/Lumenta/Pixels/Rgb.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Tarsel::Proc {

/// How much a difference counts: the distance of two colours is 3 |red| + 5 |green| + 2 |blue|.
constexpr int RED_WEIGHT = 3;
constexpr int GREEN_WEIGHT = 5;
constexpr int BLUE_WEIGHT = 2;

/// Colours of a palette in rows, one number a colour: its components, each times twice its weight, and its
/// index. (Twice, because the middle of a cube lies between two colours.) Behind the last one the rows of
/// components are filled with CANDIDATE_FILLER up to a multiple of CANDIDATE_LANES.
struct CandidateRows {
    std::int16_t const* red;
    std::int16_t const* green;
    std::int16_t const* blue;
    std::int16_t const* index;
    std::size_t count;
};

constexpr std::size_t CANDIDATE_LANES = 16;

/// Farther away than any colour from any other, also in a sum of three.
constexpr std::int16_t CANDIDATE_FILLER = 8000;
static_assert(CANDIDATE_FILLER > 2 * 255 * (RED_WEIGHT + 2 * GREEN_WEIGHT + BLUE_WEIGHT) &&
              3 * CANDIDATE_FILLER < 32768);

/// Writes the positions of those candidates that may be the nearest to some colour of a cube, in their order,
/// and returns their number: a colour whose distance to the nearest point of the cube is greater than another
/// one's to the farthest point cannot. The cube reaches from `first` to `last` above it in every component;
/// `positions` has room for all candidates, 255 at most. Any thread.
std::size_t FindPossible(CandidateRows const& candidates, Rgb first, int last,
                         std::uint16_t* positions) noexcept;

/// Writes the index of the nearest candidate, of several equally near the first one, to each colour of the
/// cube of 4x4x4 colours that begins with `first`, in the order of their codes. Any thread.
void FindNearest(CandidateRows const& candidates, std::span<std::uint16_t const> positions, Rgb first,
                 std::uint8_t* nearest) noexcept;

} // namespace Tarsel::Proc
