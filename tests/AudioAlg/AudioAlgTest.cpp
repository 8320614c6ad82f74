// Which bytes the algorithms take for samples, what they give in the cases that matter, and what they refuse.

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "AudioAlg/AudioMemory.h"
#include "AudioAlg/PlainAudio.h"
#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Support/Audio.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <functional>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::SampleFormats;
using testing::ElementsAre;

/// Audio in a format that the test names.
template <class T>
class Samples {
public:
    Samples(SampleFormats format, std::uint8_t channels, std::vector<T> samples, std::size_t planeSize = 0)
        : m_samples(std::move(samples)) {
        bool const isPlanar = Conf::SampleFmtRecord::Find(format).planar;
        std::size_t const count = m_samples.size() / (channels == 0 ? 1 : channels);
        std::size_t const line = planeSize != 0 ? planeSize : isPlanar ? count : m_samples.size();
        m_ref = {count,
                 {format, 48000, {0, channels}},
                 reinterpret_cast<std::uint8_t*>(m_samples.data()),
                 static_cast<std::int32_t>(line * sizeof(T))};
    }

    operator AudioRef const&() const { return m_ref; }
    std::vector<T> const& Get() const { return m_samples; }

private:
    std::vector<T> m_samples;
    AudioRef m_ref;
};

template <class T>
Samples<T> Mono(std::vector<T> samples) {
    return {PackedFormat<T>(), 1, std::move(samples)};
}

// The source says what a sample is, the destination how many bytes there are.
TEST(AudioAlg, DestinationCountsAndSourceNamesTheType) {
    Samples<float> const packed(SampleFormats::Float, 2, {2, 3, 4, 5, 6, 7});
    {
        // Lines of two samples, times two channels.
        Samples<float> const dst(SampleFormats::FloatPlanar, 2, {9, 9, 9, 9, 9, 9}, 2);
        ClipAudio(dst, packed);
        EXPECT_THAT(dst.Get(), ElementsAre(1, 1, 1, 1, 9, 9));
    }
    {
        // The line of packed audio is all there is.
        Samples<float> const dst(SampleFormats::Float, 2, {9, 9, 9, 9, 9, 9}, 3);
        VolumizeAudio(dst, packed, -1);
        EXPECT_THAT(dst.Get(), ElementsAre(-1, -1, -1, 9, 9, 9));
    }
    {
        // 15 bytes are three floats, whatever the destination calls them.
        Samples<std::uint8_t> const dst(SampleFormats::U8Planar, 3, std::vector<std::uint8_t>(16, 7), 5);
        ClipAudio(dst, packed);
        EXPECT_EQ(Get<float>(dst.Get().data(), 2), 1.0F);
        EXPECT_THAT(std::vector<int>(dst.Get().begin() + 12, dst.Get().end()), ElementsAre(7, 7, 7, 7));
    }
    for (int const lineSize : {0, 3, -4, std::numeric_limits<std::int32_t>::min()}) {
        Samples<float> const dst = Mono<float>({9});
        AudioRef ref = dst;
        ref.lineSize = lineSize;
        ClipAudio(ref, packed);
        VolumizeAudio(ref, packed, 0.5);
        EXPECT_EQ(dst.Get()[0], 9);
    }
}

std::vector<double> SamplesAt(AudioRef const& ref, int index) {
    std::vector<double> samples{42.0}; // is kept
    GetAudioSamples(ref, index, samples);
    return samples;
}

TEST(AudioAlg, SamplesOfEveryFormat) {
    ForEachType([]<class T>(T) {
        SampleNoise<T> noise;
        std::vector<T> samples(24);
        for (int index = 0; index < 3; ++index) {
            std::generate(samples.begin(), samples.end(), [&] {
                T const s = noise();
                return s == s ? s : T{1};
            });
            auto const at = [&](int i) { return Plain::ToReal(samples[static_cast<std::size_t>(i)]); };
            // Planes of three samples, of which the line has four.
            EXPECT_THAT(SamplesAt(Samples<T>(PlanarFormat<T>(), 2, samples, 4), index),
                        ElementsAre(42, at(index), at(4 + index)));
            EXPECT_THAT(SamplesAt(Samples<T>(PackedFormat<T>(), 3, samples), index),
                        ElementsAre(42, at(3 * index), at(3 * index + 1), at(3 * index + 2)));
            EXPECT_THAT(SamplesAt(Samples<T>(PackedFormat<T>(), 0, samples), index), ElementsAre(42));
        }
    });
    EXPECT_THAT(SamplesAt(Mono<std::uint8_t>({0, 255}), 1), ElementsAre(42, 0.9921875));
    EXPECT_THAT(SamplesAt(Mono<short>({-32768}), 0), ElementsAre(42, -32768 / 32767.0));
}

TEST(AudioAlg, MixesPlanesAndInterleavedChannels) {
    auto const nine = [](std::size_t count) { return std::vector<short>(count, 9); };
    {
        // Lines differ; padding stays.
        Samples<short> const dst(SampleFormats::S16Planar, 2, nine(8), 4);
        AudioRef ref = dst;
        ref.sampleCount = 3;
        Samples<short> const a(SampleFormats::S16Planar, 2, {1, 2, 3, 20000, 5, 6});
        Samples<short> const b(SampleFormats::S16Planar, 2, {100, 200, 20000, 300, 400, 500});
        AudioRef two = b; // The mix is longer.
        two.sampleCount = 2;
        MixAudio(ref, {{a, 1.0}, {two, 2.0}});
        EXPECT_THAT(dst.Get(), ElementsAre(201, 402, 3, 9, 20600, 805, 6, 9));
    }
    {
        Samples<short> const dst(SampleFormats::S16, 2, nine(6));
        Samples<short> const a(SampleFormats::S16, 2, {1, 2, 30000, -30000, 5, 6, 7, 8});
        Samples<short> const b(SampleFormats::S16, 2, {10, 20, 30000, -30000});
        MixAudio(dst, {{a, 1.0}, {b, 0.5}});
        EXPECT_THAT(dst.Get(), ElementsAre(6, 12, 32767, -32768, 5, 6));
    }
}

TEST(AudioAlg, RefusesUnknownFormats) {
    Samples<float> const good = Mono<float>({1});
    std::vector<double> samples{1};
    std::vector<LevelSums> sums(1);
    std::pair<char const*, std::function<void(AudioRef const&)>> const cases[]{
        {"ClipAudio", [&](AudioRef const& bad) { ClipAudio(good, bad); }},
        {"VolumizeAudio", [&](AudioRef const& bad) { VolumizeAudio(good, bad, 1); }},
        {"EstimateLevel", [&](AudioRef const& bad) { EstimateLevel(bad); }},
        {"GetAudioSamples", [&](AudioRef const& bad) { GetAudioSamples(bad, 0, samples); }},
        {"MixAudio", [&](AudioRef const& bad) { MixAudio(bad, {}); }},
        {"AddLevels", [&](AudioRef const& bad) { AddLevels(bad, 0, 1, sums); }},
        {"FindPeak", [&](AudioRef const& bad) { FindPeak(bad); }}};
    for (AudioRef const& bad : {AudioRef(Samples<float>(static_cast<SampleFormats>(10), 1, {1})),
                                AudioRef(Samples<float>(SampleFormats::Unknown, 1, {}))})
        for (auto const& [name, call] : cases) {
            Tarsel::Test::Failure const failure = Tarsel::Test::Catch([&, &act = call] { act(bad); });
            EXPECT_EQ(failure.text, std::string(name) + " doesn't support this sample format");
            EXPECT_NE(failure.function.find(std::string(name) + '('), std::string::npos);
            EXPECT_TRUE(failure.hasStack);
        }
    EXPECT_EQ(good.Get()[0], 1);
    EXPECT_THAT(samples, ElementsAre(1));
}

TEST(AudioAlg, RefusesToMixWhatDiffers) {
    Samples<float> const dst(SampleFormats::Float, 2, {1, 2});
    struct {
        SampleFormats format;
        std::uint8_t channels;
        char const* what;
    } const cases[] = {
        {SampleFormats::FloatPlanar, 2, "fltp with 2"},
        {SampleFormats::S32, 2, "s32 with 2"},
        {SampleFormats::Float, 1, "flt with 1"},
        {SampleFormats::Unknown, 2, "unknown with 2"},
    };
    for (auto const& [format, channels, what] : cases) {
        Samples<float> const other(format, channels, {3, 4});
        EXPECT_EQ(Tarsel::Test::TextOf([&] {
                      MixAudio(dst, {{dst, 1.0}, {other, 1.0}});
                  }),
                  std::string("MixAudio cannot mix ") + what + " channels into flt with 2 channels");
    }
    EXPECT_THAT(dst.Get(), ElementsAre(1, 2));
}

Conf::SampleInfo InfoOf(int format, std::uint8_t channels) {
    return {static_cast<SampleFormats>(format), 48000, {0, channels}};
}

// Every channel has a plane of its own there, which lies where the allocator put it; 12 are more than the
// frame itself has room for.
TEST(DataAudioRef, CoversBlocksWhereverTheirPlanesLie) {
    for (int format = 0; format < 10; ++format)
        for (std::uint8_t const channels : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{12}}) {
            auto const block = Tarsel::Test::MakeAudio(InfoOf(format, channels), 333, [](int c, auto i) {
                return c / 16.0 + 0.01 * static_cast<int>(i % 5);
            });
            int const planes = CountPlanes(*block);
            EXPECT_EQ(planes, format >= 5 ? channels : 1);
            for (int const i : {0, 111, 332}) {
                std::vector<double> samples;
                for (int plane = 0; plane < planes; ++plane) {
                    AudioRef const ref = GetPlaneRef(*block, plane);
                    EXPECT_EQ(ref.sampleCount, 333U);
                    AudioRef const part = GetPart(ref, static_cast<std::uint64_t>(i), 1);
                    EXPECT_EQ(part.lineSize * 333, ref.lineSize);
                    GetAudioSamples(part, 0, samples);
                }
                ASSERT_EQ(samples.size(), channels);
                for (int c = 0; c < channels; ++c)
                    EXPECT_NEAR(samples[static_cast<std::size_t>(c)], c / 16.0 + 0.01 * (i % 5), 0.005);
            }
        }
}

TEST(DataAudioRef, RefusesBlocksThatNoLineSizeCanTell) {
    SafeFrame frame;
    frame->format = static_cast<int>(SampleFormats::DoublePlanar);
    frame->ch_layout.nb_channels = 2;
    frame->nb_samples = 1 << 28;
    DataAudioFF const block(std::move(frame));
    EXPECT_EQ(Tarsel::Test::TextOf([&] { GetPlaneRef(block, 0); }),
              "A block of audio has 268435456 samples of 8 bytes; the most is 2147483647 bytes");
}

} // namespace
} // namespace Tarsel::Proc
