#include "AudioAlg/PlainAudio.h"
#include "AudioAlg/SoundMemory.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

#include <bit>

namespace Tarsel::Proc {
namespace {

struct PlainLevel {
    double peak = 0;
    double sum = 0;

    void Add(double v) {
        if (peak < v)
            peak = v;
        sum = std::fma(v, v, sum);
    }
};

void ExpectSame(AudioLevelInfo const& level, PlainLevel const& expected, std::size_t count,
                std::string const& what) {
    double const rms = count == 0 ? 0 : std::sqrt(expected.sum / static_cast<double>(count));
    ASSERT_EQ(std::bit_cast<std::uint64_t>(level.peak), std::bit_cast<std::uint64_t>(expected.peak)) << what;
    if (std::isnan(rms))
        ASSERT_TRUE(std::isnan(level.rms)) << what;
    else
        ASSERT_EQ(std::bit_cast<std::uint64_t>(level.rms), std::bit_cast<std::uint64_t>(rms)) << what;
}

/// Without what makes every sum infinite or no number.
template <class T>
class LevelNoise {
public:
    T operator()() {
        T const s = m_noise();
        if constexpr (std::is_floating_point_v<T>)
            return std::abs(s) < 1e30 ? s : T{0};
        return s;
    }

private:
    SampleNoise<T> m_noise;
};

class Level : public EveryTarget {};

// To the last bit: another order or rounding of the sum is found out.
TEST_P(Level, EveryCountAtAnyAddress) {
    ForEachType([]<class T>(T) {
        LevelNoise<T> noise;
        for (std::size_t count = 0; count <= 257; ++count)
            for (std::uint8_t channels = 1; channels <= 3; ++channels)
                for (bool const isPlanar : {false, true}) {
                    // What lies between planes does not count.
                    std::size_t const gap = isPlanar ? count % 4 * 7 : 0;
                    std::size_t const line = count * sizeof(T) * (isPlanar ? 1U : channels) + gap;
                    std::size_t const start = count % 9;
                    Bytes memory(start + line * (isPlanar ? channels : 1U) + 1, 0x7E);
                    PlainLevel expected;
                    for (std::size_t plane = 0; plane < (isPlanar ? channels : 1U); ++plane)
                        for (std::size_t i = 0; i < count * (isPlanar ? 1U : channels); ++i) {
                            T const s = noise();
                            Put(memory.data() + start + plane * line, i, s);
                            expected.Add(Plain::ToReal(s));
                        }
                    AudioRef const ref{count,
                                       {isPlanar ? PlanarFormat<T>() : PackedFormat<T>(), 1, {0, channels}},
                                       memory.data() + start,
                                       static_cast<std::int32_t>(line)};
                    ExpectSame(EstimateLevel(ref), expected, count * channels,
                               std::string(typeid(T).name()) + " x " + std::to_string(count));
                }
    });
}

TEST_P(Level, RealsThatAreNoNumbers) {
    SampleNoise<double> noise;
    for (std::size_t count = 1; count < 40; ++count) {
        Bytes memory = MakeMemory(noise, 3, count);
        PlainLevel expected;
        for (std::size_t i = 0; i < count; ++i)
            expected.Add(Get<double>(memory.data() + 3, i));
        ExpectSame(EstimateLevel(MonoRef<double>(memory.data() + 3, count)), expected, count,
                   std::to_string(count));
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, Level, AllTargets(), TargetNames());

} // namespace
} // namespace Tarsel::Proc
