// Clipping, volume and mixing against the plain formulas, with every instruction set.

#include "AudioAlg/AudioMemory.h"
#include "AudioAlg/PlainAudio.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Proc/Algorithms/AudioAlg/StreamBytes.h"
#include "Support/EveryTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>

namespace Tarsel::Proc {
namespace {

constexpr double s_infinity = std::numeric_limits<double>::infinity();
constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

/// Every step of F that changes something, and where F, products and the 16 bits of u8 come to their ends.
constexpr double s_volumes[] = {1.0,   0.0,    0.5,     1.0 / 3, 2.0,        -1.0,       -0.5,    0.001,
                                127.9, 128.0,  255.99,  256.0,   1000.0,     -300.25,    32767.9, 32768.5,
                                -4e4,  8.38e6, 8388608, -8.4e6,  2.15e9,     3.6e16,     -3.7e16, 1e300,
                                -0.0,  1e-310, -1e300,  s_nan,   s_infinity, -s_infinity};

class Samples : public EveryTarget {};

/// What the operation gives for one sample after the other.
template <class T>
void ApplyPlainly(std::uint8_t* dst, std::uint8_t const* src, std::size_t count,
                  std::function<T(T)> const& operation) {
    for (std::size_t i = 0; i < count; ++i)
        Put(dst, i, operation(Get<T>(src, i)));
}

TEST_P(Samples, EveryCountAtAnyAddress) {
    ForEachType([]<class T>(T) {
        SampleNoise<T> noise;
        for (std::size_t count = 0; count <= 257; ++count) {
            std::size_t const start = count * 7 % 67;
            Bytes src = MakeMemory(noise, count * 5 % 31, count);
            Bytes dst = MakeMemory(noise, start, count);
            Bytes expected = dst;
            std::uint8_t const* const from = src.data() + count * 5 % 31;
            AudioRef const to = MonoRef<T>(dst.data() + start, count);
            AudioRef const source = MonoRef<T>(src.data() + count * 5 % 31, count);

            ClipAudio(to, source);
            ApplyPlainly<T>(expected.data() + start, from, count, [](T s) {
                if constexpr (std::is_floating_point_v<T>)
                    return Plain::Clip(s);
                else
                    return s;
            });
            ASSERT_EQ(dst, expected) << "clipped, type " << typeid(T).name() << ", count " << count;

            double const volume = s_volumes[count % std::size(s_volumes)];
            VolumizeAudio(to, source, volume);
            ApplyPlainly<T>(expected.data() + start, from, count,
                            [&](T s) { return Plain::Volumize(s, volume); });
            ASSERT_EQ(dst, expected) << "volume " << volume << ", type " << typeid(T).name() << ", count "
                                     << count;
        }
    });
}

TEST_P(Samples, EveryVolume) {
    ForEachType([]<class T>(T) {
        std::vector<T> samples;
        if constexpr (sizeof(T) <= 2) { // all there are
            samples.resize(std::size_t{1} << (8 * sizeof(T)));
            std::iota(samples.begin(), samples.end(), std::numeric_limits<T>::min());
        } else {
            samples.resize(5000);
            std::generate(samples.begin(), samples.end(), SampleNoise<T>());
        }
        for (double const volume : s_volumes) {
            std::vector<T> expected(samples.size());
            std::transform(samples.begin(), samples.end(), expected.begin(),
                           [&](T s) { return Plain::Volumize(s, volume); });
            Bytes audio = ToBytes(samples);
            AudioRef const ref = MonoRef<T>(audio.data(), samples.size());
            VolumizeAudio(ref, ref, volume); // in place
            ASSERT_TRUE(audio == ToBytes(expected)) << "volume " << volume << ", type " << typeid(T).name();
        }
    });
}

// A destination ahead of its source overwrites samples that are still to be read.
TEST_P(Samples, OverlappingBuffers) {
    constexpr std::size_t count = 200;
    ForEachType([]<class T>(T) {
        SampleNoise<T> noise;
        for (std::size_t dstStart = 0; dstStart <= 280; dstStart += dstStart < 130 ? 3 : 1) {
            constexpr std::size_t srcStart = 140;
            Bytes memory = MakeMemory(noise, 0, 300 + count);
            Bytes expected = memory;
            VolumizeAudio(MonoRef<T>(memory.data() + dstStart, count),
                          MonoRef<T>(memory.data() + srcStart, count), 0.75);
            ApplyPlainly<T>(expected.data() + dstStart, expected.data() + srcStart, count,
                            [](T s) { return Plain::Volumize(s, 0.75); });
            ASSERT_EQ(memory, expected) << typeid(T).name() << ", " << dstStart << " from " << srcStart;
        }
    });
}

/// Sources of different lengths, some longer than the mix, at any address.
template <class T>
void CheckMix(std::size_t sourceCount, std::size_t count, bool isInPlace) {
    SampleNoise<T> noise;
    std::vector<Bytes> tracks;
    std::vector<Audio2Mix> sources;
    for (std::size_t k = 0; k < sourceCount; ++k) {
        std::size_t const length = k % 3 == 0 ? count + 10 : count * (k + 1) / (sourceCount + 1);
        tracks.push_back(MakeMemory(noise, k, length));
        sources.push_back(
            {MonoRef<T>(tracks[k].data() + k, length), s_volumes[(count + k) % std::size(s_volumes)]});
    }
    if (sourceCount > 0)
        sources.push_back({MonoRef<T>(nullptr, 0), 1.0});
    std::size_t const start = count % 13;
    Bytes dst = MakeMemory(noise, start, count);
    Bytes expected = dst;
    if (isInPlace)
        sources.insert(sources.begin() + 1, {MonoRef<T>(dst.data() + start, count), 0.5});
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<Plain::Voice<T>> voices;
        for (auto const& [source, volume] : sources)
            voices.push_back(
                {i < source.sampleCount ? Get<T>(source.samples, i) : Plain::s_silence<T>, volume});
        Put(expected.data() + start, i, Plain::Mix(voices));
    }
    MixAudio(MonoRef<T>(dst.data() + start, count), sources);
    ASSERT_EQ(dst, expected) << typeid(T).name() << ", " << sourceCount << " sources, count " << count;
}

/// Sources at full scale, the first half up, the others but two down.
void CheckManyBytes(std::size_t sources, double volume) {
    std::uint8_t up = 255;
    std::uint8_t down = 0;
    std::uint8_t sum = 7;
    std::vector<Audio2Mix> mixed;
    std::vector<Plain::Voice<std::uint8_t>> voices;
    for (std::size_t k = 0; k < sources; ++k) {
        bool const isUp = k < sources / 2 + 2;
        mixed.push_back({MonoRef<std::uint8_t>(isUp ? &up : &down, 1), volume});
        voices.push_back({isUp ? up : down, volume});
    }
    MixAudio(MonoRef<std::uint8_t>(&sum, 1), mixed);
    EXPECT_EQ(sum, Plain::Mix(voices)) << sources << " sources, volume " << volume;
}

TEST_P(Samples, Mix) {
    ForEachType([]<class T>(T) {
        for (std::size_t count = 0; count <= 257; ++count) {
            CheckMix<T>(count % 6, count, false);
            CheckMix<T>(count % 5 + 1, count, true);
        }
    });
}

// All sums of two 8-bit samples, with volumes that make many halves; and more sources than volumes fit for.
TEST_P(Samples, MixOfBytes) {
    Bytes a(65536);
    Bytes b(65536);
    std::iota(a.begin(), a.end(), std::uint8_t{0});
    for (std::size_t i = 0; i < b.size(); ++i)
        b[i] = static_cast<std::uint8_t>(i >> 8);
    for (auto const& [volumeA, volumeB] :
         {std::pair(0.75, 0.5), {0.7, -0.6}, {127.0, -126.9}, {1.0, 0.003}}) {
        Bytes sum(65536);
        MixAudio(MonoRef<std::uint8_t>(sum.data(), sum.size()),
                 {{MonoRef<std::uint8_t>(a.data(), a.size()), volumeA},
                  {MonoRef<std::uint8_t>(b.data(), b.size()), volumeB}});
        for (std::size_t i = 0; i < sum.size(); ++i)
            ASSERT_EQ(sum[i], (Plain::Mix<std::uint8_t>({{a[i], volumeA}, {b[i], volumeB}}))) << i;
    }
    for (double const volume : {0.01, 200.0}) {
        CheckManyBytes(255, volume);
        CheckManyBytes(3000, volume);
    }
}

TEST_P(Samples, StreamedBytes) {
    SampleNoise<std::uint8_t> noise;
    for (std::size_t size = 0; size < 300; ++size) {
        Bytes const src = MakeMemory(noise, size % 5, size);
        Bytes dst = MakeMemory(noise, size % 71, size);
        Bytes expected = dst;
        std::copy_n(src.begin() + static_cast<std::ptrdiff_t>(size % 5), size,
                    expected.begin() + static_cast<std::ptrdiff_t>(size % 71));
        StreamBytes(dst.data() + size % 71, src.data() + size % 5, size);
        ASSERT_EQ(dst, expected) << size;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, Samples, AllTargets(), TargetNames());

// Results beyond the size of caches go another way.
TEST(LargeSamples, AreTheSameAsInPieces) {
    std::size_t const count = s_streamedSize / 2 + 12345;
    Bytes src(2 * count + 3);
    std::generate(src.begin(), src.end(), [random = std::minstd_rand()]() mutable {
        return static_cast<std::uint8_t>(random() >> 8);
    });
    Bytes whole(src.size());
    Bytes pieces(src.size());
    auto const both = [&](auto const& action) {
        std::fill(whole.begin(), whole.end(), std::uint8_t{0});
        std::fill(pieces.begin(), pieces.end(), std::uint8_t{0});
        std::size_t const half = count / 2 + 1;
        action(MonoRef<std::int16_t>(whole.data() + 1, count), MonoRef<std::int16_t>(src.data() + 2, count));
        action(MonoRef<std::int16_t>(pieces.data() + 1, half), MonoRef<std::int16_t>(src.data() + 2, half));
        action(MonoRef<std::int16_t>(pieces.data() + 1 + 2 * half, count - half),
               MonoRef<std::int16_t>(src.data() + 2 + 2 * half, count - half));
        EXPECT_TRUE(whole == pieces);
    };
    both([](AudioRef const& dst, AudioRef const& from) { VolumizeAudio(dst, from, 1.5); });
    both([](AudioRef const& dst, AudioRef const& from) { MixAudio(dst, {{from, 0.3}, {from, -1.9}}); });
}

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
