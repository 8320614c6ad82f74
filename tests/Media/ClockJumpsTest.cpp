#include "Media/Container/ClockJumps.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Tarsel::Media {
namespace {

constexpr std::int64_t s_second = 1000000;
constexpr std::int64_t s_duration = 40000;

/// The corrected time of a packet.
std::int64_t Pass(ClockJumps& jumps, int stream, std::int64_t time) {
    return time + jumps.Correct(stream, time, s_duration);
}

TEST(ClockJumps, GapsAndRoundedTimesStay) {
    ClockJumps jumps;
    for (std::int64_t const time : {0 * s_second, s_duration, s_duration - 900, 9 * s_second, 9 * s_second})
        EXPECT_EQ(Pass(jumps, 0, time), time);
    EXPECT_EQ(jumps.GetCount(), 0);
}

TEST(ClockJumps, AllStreamsFollowAJumpByTheSameAmount) {
    // Back to 0 (recordings joined), ahead by hours (a sender started anew).
    for (std::int64_t const to : {std::int64_t{0}, 5000 * s_second}) {
        ClockJumps jumps;
        Pass(jumps, 0, 100 * s_second);
        Pass(jumps, 1, 100 * s_second + 5000);
        EXPECT_EQ(Pass(jumps, 0, to), 100 * s_second + s_duration);
        // Of before the jump, but later in the file.
        EXPECT_EQ(Pass(jumps, 1, 100 * s_second + s_duration + 5000), 100 * s_second + s_duration + 5000);
        EXPECT_EQ(Pass(jumps, 0, to + s_duration), 100 * s_second + 2 * s_duration);
        // Some packets are missing here; the gap stays.
        EXPECT_EQ(Pass(jumps, 1, to + 9 * s_duration + 5000), 100 * s_second + 10 * s_duration + 5000);
        EXPECT_EQ(jumps.GetOffset(), 100 * s_second + s_duration - to);
        EXPECT_EQ(jumps.GetCount(), 1);
    }
}

} // namespace
} // namespace Tarsel::Media
