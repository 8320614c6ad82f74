#include "Conf/AudioTime.h"

#include <gtest/gtest.h>

namespace Tarsel::Conf {

namespace {

TEST(AudioTimeTest, DoesNotDrift) {
    AudioTime time;
    EXPECT_EQ(time.GetTime(), 0);
    // A year in blocks of 3 samples would drift by hours, each rounded by itself.
    for (int i = 0; i < 1000000; ++i)
        time.AddSamples(44100, 3);
    EXPECT_EQ(time.GetTime(), 68027211); // 3,000,000 / 44,100 s = 68,027,210.88 us
    time.AddSamples(44100, 44100LL * 86400 * 365 * 1000);
    EXPECT_EQ(time.GetTime(), 68027211 + 31536000000000000);
    AudioTime later(-5);
    later.AddSamples(48000, 24);
    EXPECT_EQ(later.GetTime(), 495);
}

TEST(AudioTimeTest, KeepsPartsOfAMicrosecondWhenTheRateChanges) {
    AudioTime time;
    for (int i = 0; i < 300000; ++i)
        time.AddSamples(i % 2 == 0 ? 3 : 6, 1); // 1/3 s and 1/6 s
    EXPECT_EQ(time.GetTime(), 75000000000);
    time.AddSamples(0, 1000);
    time.AddSamples(-1, 1000);
    EXPECT_EQ(time.GetTime(), 75000000000);
}

TEST(AudioTimeTest, RoundsToTheNearest) {
    EXPECT_EQ(GetDuration(2000000, 1), 1); // half a microsecond
    EXPECT_EQ(GetDuration(2147483647, 1073), 0);
    EXPECT_EQ(GetDuration(2147483647, 1074), 1);
    EXPECT_EQ(GetDuration(44100, 1024), 23220);
    EXPECT_EQ(GetDuration(0, 1024), 0);
}

} // namespace

} // namespace Tarsel::Conf
