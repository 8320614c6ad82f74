#include "AudioAlg/AudioMemory.h"
#include "AudioAlg/PlainAudio.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

namespace Tarsel::Proc {
namespace {

struct PlainLevel {
    double highest = 0;
    double lowest = 0;
    double sum = 0;

    void Add(double v) {
        highest = highest < v ? v : highest;
        lowest = lowest > v ? v : lowest;
        sum = std::fma(v, v, sum);
    }
};

/// To the last bit, but for the bits of what is no number.
testing::AssertionResult AreSame(std::vector<double> const& values, std::vector<double> const& expected) {
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (std::isnan(expected[i]) ? !std::isnan(values[i]) : values[i] != expected[i])
            return testing::AssertionFailure() << "value " << i << ": " << values[i] << ", " << expected[i];
    return testing::AssertionSuccess();
}

template <class T>
void CheckLevels(SampleNoise<T>& noise, std::size_t count, std::uint8_t channels, bool isPlanar) {
    // What lies between planes does not count.
    std::size_t const gap = isPlanar ? count % 4 * 7 : 0;
    std::size_t const line = count * sizeof(T) * (isPlanar ? 1U : channels) + gap;
    std::size_t const start = count % 9;
    Bytes memory(start + line * (isPlanar ? channels : 1U) + 1, 0x7E);
    std::vector<PlainLevel> expected(channels);
    PlainLevel all;
    for (std::size_t plane = 0; plane < (isPlanar ? channels : 1U); ++plane)
        for (std::size_t i = 0; i < count * (isPlanar ? 1U : channels); ++i) {
            T s = noise();
            // A third has no samples that make every sum infinite or no number.
            if constexpr (std::is_floating_point_v<T>)
                s = count % 3 == 0 || std::abs(s) < 1e30 ? s : T{0};
            Put(memory.data() + start + plane * line, i, s);
            all.Add(Plain::ToReal(s));
            expected[isPlanar ? plane : i % channels].Add(Plain::ToReal(s));
        }
    AudioRef const ref{count,
                       {isPlanar ? PlanarFormat<T>() : PackedFormat<T>(), 1, {0, channels}},
                       memory.data() + start,
                       static_cast<std::int32_t>(line)};

    AudioLevelInfo const level = EstimateLevel(ref);
    double const rms = count == 0 ? 0 : std::sqrt(all.sum / static_cast<double>(count * channels));
    ASSERT_TRUE(AreSame({level.peak, level.rms}, {all.highest, rms}));
    ASSERT_EQ(FindPeak(ref), std::max(all.highest, -all.lowest));

    // In two pieces.
    std::vector<LevelSums> sums(channels);
    AddLevels(ref, 0, count / 3, sums);
    AddLevels(ref, count / 3, count - count / 3, sums);
    for (std::size_t c = 0; c < channels; ++c)
        ASSERT_TRUE(AreSame({sums[c].highest, sums[c].lowest, sums[c].squares},
                            {expected[c].highest, expected[c].lowest, expected[c].sum}));
}

class Level : public EveryTarget {};

// To the last bit: another order or rounding of the sum is found out.
TEST_P(Level, EveryCountAtAnyAddress) {
    ForEachType([]<class T>(T) {
        SampleNoise<T> noise;
        for (std::size_t count = 0; count <= 130; ++count)
            for (std::uint8_t channels = 1; channels <= 3; ++channels)
                for (bool const isPlanar : {false, true}) {
                    SCOPED_TRACE(testing::Message() << typeid(T).name() << " x " << count);
                    CheckLevels(noise, count, channels, isPlanar);
                    if (testing::Test::HasFatalFailure())
                        return;
                }
        // More than is taken out of packed audio at once.
        CheckLevels(noise, 5000, 2, false);
    });
    EXPECT_EQ(EstimateLevel({7, {Conf::SampleFormats::S16Planar, 1, {}}, nullptr, 0}).rms, 0);
}

INSTANTIATE_TEST_SUITE_P(Targets, Level, AllTargets(), TargetNames());

} // namespace
} // namespace Tarsel::Proc
