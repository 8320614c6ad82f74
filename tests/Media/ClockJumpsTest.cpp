#include "Media/ClockJumps.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Tarsel::Media {
namespace {

constexpr std::int64_t SECOND = 1000000;
constexpr std::int64_t DURATION = 40000;

/// The corrected time of a packet.
std::int64_t Pass(ClockJumps& jumps, int stream, std::int64_t time) {
    return time + jumps.Correct(stream, time, DURATION);
}

TEST(ClockJumps, GapsAndRoundedTimesStay) {
    ClockJumps jumps;
    for (std::int64_t const time : {0 * SECOND, DURATION, DURATION - 900, 9 * SECOND, 9 * SECOND})
        EXPECT_EQ(Pass(jumps, 0, time), time);
    EXPECT_EQ(jumps.GetCount(), 0);
}

TEST(ClockJumps, AllStreamsFollowAJumpByTheSameAmount) {
    // Back to 0 (recordings joined), ahead by hours (a sender started anew).
    for (std::int64_t const to : {std::int64_t{0}, 5000 * SECOND}) {
        ClockJumps jumps;
        Pass(jumps, 0, 100 * SECOND);
        Pass(jumps, 1, 100 * SECOND + 5000);
        EXPECT_EQ(Pass(jumps, 0, to), 100 * SECOND + DURATION);
        // Of before the jump, but later in the file.
        EXPECT_EQ(Pass(jumps, 1, 100 * SECOND + DURATION + 5000), 100 * SECOND + DURATION + 5000);
        EXPECT_EQ(Pass(jumps, 0, to + DURATION), 100 * SECOND + 2 * DURATION);
        // Some packets are missing here; the gap stays.
        EXPECT_EQ(Pass(jumps, 1, to + 9 * DURATION + 5000), 100 * SECOND + 10 * DURATION + 5000);
        EXPECT_EQ(jumps.GetOffset(), 100 * SECOND + DURATION - to);
        EXPECT_EQ(jumps.GetCount(), 1);
    }
}

} // namespace
} // namespace Tarsel::Media
