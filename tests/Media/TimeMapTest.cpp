#include "Media/Run/TimeMap.h"

#include "Media/Base/Times.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {
namespace {

/// Whether `time`, in ticks of `timeBase`, is the same as `other`, in ticks of `otherBase`.
bool IsSameTime(std::int64_t time, Ratio timeBase, std::int64_t other, Ratio otherBase) {
    return av_compare_ts(time, ToAV(timeBase), other, ToAV(otherBase)) == 0;
}

// The chain knows whole microseconds only; what comes out has to be what went in, to the tick.
TEST(TimeMap, TimesComeBackExactly) {
    for (Ratio const timeBase :
         {Ratio{1, 1}, Ratio{1, 24}, Ratio{1001, 30000}, Ratio{1, 600}, Ratio{1, 1000}, Ratio{1, 12800},
          Ratio{1, 90000}, Ratio{1, 999983}, Ratio{1, 1000000}, Ratio{1, 1000001}, Ratio{1, 10000000},
          Ratio{1, 1000000000}, Ratio{7, 2000000011}}) {
        SCOPED_TRACE(timeBase.denominator);
        TimeMap map(timeBase);
        std::vector<FrameTime> times;
        std::int64_t start = -3;
        for (int i = 0; i < 2000; ++i) {
            std::int64_t const duration = 1 + i * 7919 % 13;
            times.push_back({start, duration});
            start += duration;
        }
        constexpr std::size_t heldBack = 5;
        for (std::size_t i = 0; i < times.size() + heldBack; ++i) {
            if (i < times.size())
                map.Enter(ToMicroseconds(times[i].start, timeBase),
                          ToMicroseconds(times[i].duration, timeBase), times[i]);
            if (i < heldBack)
                continue;
            FrameTime const& in = times[i - heldBack];
            FrameTime const out =
                map.Leave(ToMicroseconds(in.start, timeBase), ToMicroseconds(in.duration, timeBase));
            ASSERT_TRUE(IsSameTime(out.start, map.GetTimeBase(), in.start, timeBase)) << "picture " << i;
            ASSERT_TRUE(IsSameTime(out.duration, map.GetTimeBase(), in.duration, timeBase))
                << "picture " << i;
        }
        EXPECT_EQ(map.GetMovedCount(), 0);
    }
}

TEST(TimeMap, EndsWhereTheClockEnds) {
    TimeMap map({1, 25});
    for (int i = 0; i < 2; ++i) {
        map.Enter(INT64_MAX - 1, 40000, {INT64_MAX - 1, INT64_MAX - 1});
        EXPECT_GT(map.Leave(INT64_MAX - 1, 40000).start, INT64_MAX - 1000);
    }
}

TEST(Rates, NominalAndResulting) {
    Ratio const film{24000, 1001};
    EXPECT_EQ(ChooseNominalRate({2997, 125}, film), film);          // a measured average
    EXPECT_EQ(ChooseNominalRate({25, 1}, {50, 1}), (Ratio{25, 1})); // the base counts fields
    EXPECT_EQ(ChooseNominalRate({0, 0}, {0, 0}), (Ratio{0, 1}));

    EXPECT_EQ(ChooseFrameRate(film, 41708, 41708), film);
    EXPECT_EQ(ChooseFrameRate(film, 41708, 20854), (Ratio{48000, 1001}));
    EXPECT_EQ(ChooseFrameRate(film, 41708, 83417), (Ratio{24000, 2002}));
    EXPECT_EQ(ChooseFrameRate({25, 1}, 40000, 33333), (Ratio{30, 1})); // no multiple
    EXPECT_EQ(ChooseFrameRate({25, 1}, 40000, 33367), (Ratio{30000, 1001}));
    EXPECT_EQ(ChooseFrameRate({25, 1}, 11, 33333), (Ratio{25, 1})); // no constant rate
    EXPECT_EQ(ChooseFrameRate({0, 1}, 0, 20000), (Ratio{50, 1}));
    EXPECT_EQ(ChooseFrameRate({0, 1}, 0, 0), (Ratio{0, 1}));
}

} // namespace
} // namespace Tarsel::Media
