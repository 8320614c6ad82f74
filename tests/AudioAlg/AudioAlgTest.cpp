// Which bytes the algorithms take for samples, what they give in the cases that matter, and what they refuse.

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "AudioAlg/SoundMemory.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <functional>

namespace Tarsel::Proc {
namespace {

using Conf::SampleFormats;
using testing::ElementsAre;

/// Sound in a format that the test names.
template <class T>
class Sound {
public:
    Sound(SampleFormats format, std::uint8_t channels, std::vector<T> samples, std::size_t planeSize = 0)
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
Sound<T> Mono(std::vector<T> samples) {
    return {PackedFormat<T>(), 1, std::move(samples)};
}

TEST(AudioAlg, ClipsPlanarFloat) {
    Sound<float> const src(SampleFormats::FloatPlanar, 2, {1.5F, -2.0F, 0.25F, std::nanf("")});
    Sound<float> const dst(SampleFormats::FloatPlanar, 2, {9, 9, 9, 9});
    ClipAudio(dst, src);
    EXPECT_THAT(dst.Get(), ElementsAre(1.0F, -1.0F, 0.25F, -1.0F));
}

// The source says what a sample is, the destination how many bytes there are.
TEST(AudioAlg, DestinationCountsAndSourceNamesTheType) {
    Sound<float> const packed(SampleFormats::Float, 2, {2, 3, 4, 5, 6, 7});
    {
        // Lines of two samples, times two channels.
        Sound<float> const dst(SampleFormats::FloatPlanar, 2, {9, 9, 9, 9, 9, 9}, 2);
        ClipAudio(dst, packed);
        EXPECT_THAT(dst.Get(), ElementsAre(1, 1, 1, 1, 9, 9));
    }
    {
        // The line of packed sound is all there is.
        Sound<float> const dst(SampleFormats::Float, 2, {9, 9, 9, 9, 9, 9}, 3);
        VolumizeAudio(dst, packed, -1);
        EXPECT_THAT(dst.Get(), ElementsAre(-1, -1, -1, 9, 9, 9));
    }
    {
        // 15 bytes are three floats, whatever the destination calls them.
        Sound<std::uint8_t> const dst(SampleFormats::U8Planar, 3, std::vector<std::uint8_t>(16, 7), 5);
        ClipAudio(dst, packed);
        EXPECT_EQ(Get<float>(dst.Get().data(), 2), 1.0F);
        EXPECT_THAT(std::vector<int>(dst.Get().begin() + 12, dst.Get().end()), ElementsAre(7, 7, 7, 7));
    }
    for (int const lineSize : {0, 3, -4, std::numeric_limits<std::int32_t>::min()}) {
        Sound<float> const dst = Mono<float>({9});
        AudioRef ref = dst;
        ref.lineSize = lineSize;
        ClipAudio(ref, packed);
        VolumizeAudio(ref, packed, 0.5);
        EXPECT_EQ(dst.Get()[0], 9);
    }
}

TEST(AudioAlg, CopiesIntegersWhenClipping) {
    Sound<short> const src = Mono<short>({-32768, 32767, 1});
    Sound<short> const dst = Mono<short>({0, 0, 0});
    ClipAudio(dst, src);
    EXPECT_EQ(dst.Get(), src.Get());
}

template <class T>
T Volumized(T sample, double volume) {
    Sound<T> const src = Mono<T>({sample});
    Sound<T> const dst = Mono<T>({T{}});
    VolumizeAudio(dst, src, volume);
    return dst.Get()[0];
}

TEST(AudioAlg, Volume) {
    for (int const s : {-32768, -12345, -1, 0, 1, 32767})
        EXPECT_EQ(Volumized(static_cast<short>(s), 1.0), s);
    for (int const s : {std::numeric_limits<int>::min(), -1, 0, 123456789, std::numeric_limits<int>::max()})
        EXPECT_EQ(Volumized<int>(s, 1.0), s);
    EXPECT_EQ(Volumized<short>(20000, 2.0), 32767);
    EXPECT_EQ(Volumized<short>(-20000, 2.0), -32768);
    EXPECT_EQ(Volumized<short>(-3, 0.5), -1);
    EXPECT_EQ(Volumized<short>(3, 0.5), 2);
    EXPECT_EQ(Volumized<std::uint8_t>(200, 2.0), 255);
    EXPECT_EQ(Volumized<std::uint8_t>(20, 2.0), 0);
    // A product beyond 32 bits, one beyond 64, and the 16 bits of u8: 127 * 512 = 65024 = -512.
    EXPECT_EQ(Volumized<short>(30000, 30000.0), 32767);
    EXPECT_EQ(Volumized<int>(-2000000000, 1e12), std::numeric_limits<int>::min());
    EXPECT_EQ(Volumized<std::uint8_t>(255, 512.0), 0);
    // F is truncated towards zero: -255 for -1.
    EXPECT_EQ(Volumized<short>(25600, -1.0), -25500);
    EXPECT_EQ(Volumized<float>(0.75F, 2.0), 1.0F);
    EXPECT_EQ(Volumized<double>(-0.75, 0.5), -0.375);
}

TEST(AudioAlg, LevelOfTwoSamplesAndOfNone) {
    Sound<short> const sound = Mono<short>({16384, -32767});
    double const v = 16384 / 32767.0;
    EXPECT_EQ(EstimateLevel(sound).peak, v);
    EXPECT_EQ(EstimateLevel(sound).rms, std::sqrt((v * v + 1) / 2));
    for (AudioLevelInfo const& level :
         {EstimateLevel(Mono<short>({})), EstimateLevel(Sound<short>(SampleFormats::S16Planar, 0, {1, 2})),
          EstimateLevel(Sound<short>(SampleFormats::S16, 0, {1, 2}))}) {
        EXPECT_EQ(level.peak, 0.0);
        EXPECT_EQ(level.rms, 0.0);
    }
}

std::vector<double> SamplesAt(AudioRef const& ref, int index) {
    std::vector<double> samples{42.0}; // is kept
    GetAudioSamples(ref, index, samples);
    return samples;
}

TEST(AudioAlg, SamplesOfEveryFormat) {
    EXPECT_THAT(SamplesAt(Sound<std::uint8_t>(SampleFormats::U8, 2, {1, 2, 0, 255}), 1),
                ElementsAre(42, -1.0, 0.9921875));
    EXPECT_THAT(SamplesAt(Sound<short>(SampleFormats::S16, 2, {1, 2, -32768, 16384}), 1),
                ElementsAre(42, -32768 / 32767.0, 16384 / 32767.0));
    EXPECT_THAT(SamplesAt(Sound<int>(SampleFormats::S32, 1, {0, 2147483647, -2147483647 - 1}), 2),
                ElementsAre(42, -2147483648.0 / 2147483647.0));
    EXPECT_THAT(SamplesAt(Sound<float>(SampleFormats::Float, 3, {1, 2, 3, 4, 0.1F, -6}), 1),
                ElementsAre(42, 4, double{0.1F}, -6));
    EXPECT_THAT(SamplesAt(Sound<double>(SampleFormats::Double, 1, {0.1, -7.5}), 1), ElementsAre(42, -7.5));
    // Planes of three samples, of which the line has four.
    EXPECT_THAT(SamplesAt(Sound<std::uint8_t>(SampleFormats::U8Planar, 2, {1, 2, 0, 9, 5, 6, 255, 9}, 4), 2),
                ElementsAre(42, -1.0, 0.9921875));
    EXPECT_THAT(SamplesAt(Sound<short>(SampleFormats::S16Planar, 2, {1, 2, 32767, 9, 5, 6, -32767, 9}, 4), 2),
                ElementsAre(42, 1.0, -1.0));
    EXPECT_THAT(SamplesAt(Sound<int>(SampleFormats::S32Planar, 2, {2147483647, 1, 0, 1}, 2), 0),
                ElementsAre(42, 1.0, 0.0));
    EXPECT_THAT(SamplesAt(Sound<float>(SampleFormats::FloatPlanar, 2, {1, 2, 3, 4}), 1),
                ElementsAre(42, 2, 4));
    EXPECT_THAT(SamplesAt(Sound<double>(SampleFormats::DoublePlanar, 2, {1, 2, 3, 4}), 0),
                ElementsAre(42, 1, 3));
    EXPECT_THAT(SamplesAt(Sound<float>(SampleFormats::FloatPlanar, 0, {1}), 7), ElementsAre(42));
    EXPECT_THAT(SamplesAt(Sound<float>(SampleFormats::Float, 0, {1}), 7), ElementsAre(42));
}

TEST(AudioAlg, MixesPlanesAndInterleavedChannels) {
    auto const nine = [](std::size_t count) { return std::vector<short>(count, 9); };
    {
        // Lines differ; padding stays.
        Sound<short> const dst(SampleFormats::S16Planar, 2, nine(8), 4);
        AudioRef ref = dst;
        ref.sampleCount = 3;
        Sound<short> const a(SampleFormats::S16Planar, 2, {1, 2, 3, 20000, 5, 6});
        Sound<short> const b(SampleFormats::S16Planar, 2, {100, 200, 20000, 300, 400, 500});
        AudioRef two = b; // The mix is longer.
        two.sampleCount = 2;
        MixAudio(ref, {{a, 1.0}, {two, 2.0}});
        EXPECT_THAT(dst.Get(), ElementsAre(201, 402, 3, 9, 20600, 805, 6, 9));
    }
    {
        Sound<short> const dst(SampleFormats::S16, 2, nine(6));
        Sound<short> const a(SampleFormats::S16, 2, {1, 2, 30000, -30000, 5, 6, 7, 8});
        Sound<short> const b(SampleFormats::S16, 2, {10, 20, 30000, -30000});
        MixAudio(dst, {{a, 1.0}, {b, 0.5}});
        EXPECT_THAT(dst.Get(), ElementsAre(6, 12, 32767, -32768, 5, 6));
    }
}

TEST(AudioAlg, MixOfNothingIsSilence) {
    Sound<std::uint8_t> const bytes = Mono<std::uint8_t>({1, 2, 3});
    MixAudio(bytes, {});
    EXPECT_THAT(bytes.Get(), ElementsAre(128, 128, 128));
    Sound<float> const reals(SampleFormats::FloatPlanar, 2, {1, 2, 3, 4});
    MixAudio(reals, {{Sound<float>(SampleFormats::FloatPlanar, 2, {}), 1.0}});
    EXPECT_THAT(reals.Get(), ElementsAre(0, 0, 0, 0));
}

void ExpectFailure(std::function<void()> const& action, std::string const& text,
                   std::string const& function) {
    Tarsel::Test::Failure const failure = Tarsel::Test::Catch(action);
    EXPECT_EQ(failure.text, text);
    EXPECT_EQ(failure.file, "Proc/Algorithms/AudioAlg/AudioAlg");
    EXPECT_EQ(failure.function, function);
    EXPECT_TRUE(failure.hasStack);
}

TEST(AudioAlg, RefusesUnknownFormats) {
    Sound<float> const good = Mono<float>({1});
    AudioRef const ten = Sound<float>(static_cast<SampleFormats>(10), 1, {1});
    AudioRef const unknown = Sound<float>(SampleFormats::Unknown, 1, {});
    std::vector<double> samples{1};
    for (AudioRef const& bad : {ten, unknown}) {
        ExpectFailure([&] { ClipAudio(good, bad); }, "ClipAudio doesn't support this sample format",
                      "void Tarsel::Proc::ClipAudio(const AudioRef &, const AudioRef &)");
        ExpectFailure([&] { VolumizeAudio(good, bad, 1); },
                      "VolumizeAudio doesn't support this sample format",
                      "void Tarsel::Proc::VolumizeAudio(const AudioRef &, const AudioRef &, double)");
        ExpectFailure([&] { EstimateLevel(bad); }, "EstimateLevel doesn't support this sample format",
                      "AudioLevelInfo Tarsel::Proc::EstimateLevel(const AudioRef &)");
        ExpectFailure([&] { GetAudioSamples(bad, 0, samples); },
                      "GetAudioSamples doesn't support this sample format",
                      "void Tarsel::Proc::GetAudioSamples(const AudioRef &, int, std::vector<double> &)");
        ExpectFailure([&] { MixAudio(bad, {}); }, "MixAudio doesn't support this sample format",
                      "void Tarsel::Proc::MixAudio(const AudioRef &, const std::vector<Audio2Mix> &)");
    }
    EXPECT_EQ(good.Get()[0], 1);
    EXPECT_THAT(samples, ElementsAre(1));
}

TEST(AudioAlg, RefusesToMixWhatDiffers) {
    Sound<float> const dst(SampleFormats::Float, 2, {1, 2});
    struct {
        SampleFormats format;
        std::uint8_t channels;
        char const* text;
    } const cases[] = {
        {SampleFormats::FloatPlanar, 2, "MixAudio cannot mix fltp with 2 channels into flt with 2 channels"},
        {SampleFormats::S32, 2, "MixAudio cannot mix s32 with 2 channels into flt with 2 channels"},
        {SampleFormats::Float, 1, "MixAudio cannot mix flt with 1 channels into flt with 2 channels"},
        {SampleFormats::Unknown, 2, "MixAudio cannot mix unknown with 2 channels into flt with 2 channels"},
    };
    for (auto const& [format, channels, text] : cases)
        ExpectFailure(
            [&, f = format, c = channels] {
                MixAudio(dst, {{dst, 1.0}, {Sound<float>(f, c, {3, 4}), 1.0}});
            },
            text, "void Tarsel::Proc::MixAudio(const AudioRef &, const std::vector<Audio2Mix> &)");
    EXPECT_THAT(dst.Get(), ElementsAre(1, 2));
}

} // namespace
} // namespace Tarsel::Proc
