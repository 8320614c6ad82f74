#include "Proc/Wrappers/SafeSwrContext.h"

#include "Conf/FFmpegFormats.h"
#include "Core/CoreExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Support/AllocationLimit.h"
#include "Support/Arithmetic.h"
#include "Support/Audio.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
}

namespace Tarsel::Proc {

namespace {

using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;
using namespace Tarsel::Test;

constexpr ChannelLayout s_mono{0x4, 1};
constexpr ChannelLayout s_stereo{0x3, 2};

ChannelLayout Layout(char const* name) {
    return ChannelLayout::FromName(name).value();
}

/// What a block becomes, as one whole stream.
Channels Convert(SwrCtxParams const& params, IDataAudio const& block) {
    SafeSwrContext converter(params);
    Channels result;
    for (auto const& part : {converter.Convert(*block.GetAVFrame()), converter.Flush()})
        if (part)
            AppendAudio(result, **part);
    return result;
}

TEST(SafeSwrContextTest, EveryFormatToEveryFormat) {
    constexpr int samples = 1000;
    for (std::uint32_t i = 0; i < 100; ++i) {
        SampleInfo const from{static_cast<SampleFormats>(i / 10), 48000, Layout("3.0")};
        SampleInfo const to{static_cast<SampleFormats>(i % 10), 48000, Layout("3.0")};
        SCOPED_TRACE(AudioText(from) + " to " + AudioText(to));
        SP<DataAudioFF> const block = MakeAudioNoise(from, samples);
        Channels const result = Convert({from, to}, *block);
        ASSERT_EQ(result.size(), 3U);
        // To the nearest step, or to the one below; of what is representable nothing is lost.
        double const fromStep = StepOf(from.format);
        double const toStep = StepOf(to.format);
        double const shortened = (fromStep > 0 && toStep > fromStep) || s_cutsFloats ? toStep : toStep / 2;
        bool const single =
            Conf::SampleFmtRecord::Find(to.format).planarCounterpart == SampleFormats::FloatPlanar;
        double const allowed =
            fromStep >= toStep && fromStep > 0x1p-24 ? 0 : std::max(shortened, single ? 0x1p-24 : 0);
        for (int channel = 0; channel < 3; ++channel) {
            ASSERT_EQ(result[std::size_t(channel)].size(), std::size_t(samples));
            for (int k = 0; k < samples; ++k)
                ASSERT_NEAR(result[std::size_t(channel)][std::size_t(k)],
                            GetSample(*block->GetAVFrame(), channel, k), allowed);
        }
    }
}

TEST(SafeSwrContextTest, ChannelsOfUnknownOrderKeepTheirPlaces) {
    std::pair<ChannelLayout, ChannelLayout> const cases[] = {
        {{0, 3}, Layout("3.0")}, {Layout("hexagonal"), {0, 6}},
        {Layout("5.1"), {0, 6}}, {{0, 6}, Layout("5.1(side)")},
        {{0, 1}, s_mono},        {{0, 12}, {0, 12}},
    };
    for (auto const& [from, to] : cases)
        for (int const rate : {48000, 44100}) {
            SCOPED_TRACE(from.GetName() + " to " + to.GetName());
            SP<DataAudioFF> const block = MakeAudio({SampleFormats::FloatPlanar, 48000, from}, 480,
                                                    [](int channel, std::int64_t) { return channel / 16.; });
            Channels const result =
                Convert({block->GetSampleInfo(), {SampleFormats::Float, rate, to}}, *block);
            ASSERT_EQ(result.size(), to.channels);
            for (std::size_t channel = 0; channel < to.channels; ++channel)
                EXPECT_THAT(result[channel], testing::Each(testing::DoubleNear(double(channel) / 16, 1e-4)));
        }
}

/// Against libswresample's matrix, multiplied here: within full scale for real samples too.
TEST(SafeSwrContextTest, MixesByTheDefaultMatrix) {
    char const* const layouts[] = {"mono", "stereo", "2.1", "quad", "5.1", "5.1(side)", "7.1"};
    constexpr int samples = 50;
    constexpr double level = 0.5F * std::numbers::sqrt2_v<float>; // single as its option is
    for (char const* from : layouts)
        for (char const* to : layouts)
            for (SampleFormats const format : {SampleFormats::Double, SampleFormats::S32Planar}) {
                SCOPED_TRACE(std::string(from) + " to " + to);
                std::array<std::array<double, 64>, 64> matrix{}; // all of it is written
                AVChannelLayout in = Conf::AVChannelLayoutFromTarsel(Layout(from));
                AVChannelLayout out = Conf::AVChannelLayoutFromTarsel(Layout(to));
                swr_build_matrix2(&in, &out, level, level, 0, 1, 1, matrix[0].data(), 64,
                                  AV_MATRIX_ENCODING_NONE, nullptr);
                SP<DataAudioFF> const block = MakeAudioNoise({format, 48000, Layout(from)}, samples);
                Channels const result =
                    Convert({block->GetSampleInfo(), {format, 48000, Layout(to)}}, *block);
                ASSERT_EQ(result.size(), Layout(to).channels);
                for (std::size_t channel = 0; channel < result.size(); ++channel)
                    for (int k = 0; k < samples; ++k) {
                        double expected = 0;
                        for (int source = 0; source < in.nb_channels; ++source)
                            expected += matrix[channel][std::size_t(source)] *
                                        GetSample(*block->GetAVFrame(), source, k);
                        ASSERT_NEAR(result[channel][std::size_t(k)], expected,
                                    format == SampleFormats::Double ? 1e-12 : 0x1p-31);
                    }
            }
}

struct Rates {
    int from;
    int to;
};
constexpr Rates s_rates[] = {{44100, 48000}, {48000, 44100}, {8000, 192000}, {192000, 8000},
                             {48000, 24000}, {44100, 44101}, {11025, 96000}, {1000, 256000}};

/// Of any length, from below that of the filter on; and at its level, but for what the filter rings.
TEST(SafeSwrContextTest, AsManySamplesAsTheTimeHas) {
    for (auto const& [from, to] : s_rates) {
        SampleInfo const in{SampleFormats::S16, from, s_stereo};
        for (int const samples : {1, 2, 5, 16, 17, 31, 32, 33, 34, 40, 63, 100, 441, 528, 1000}) {
            SCOPED_TRACE(testing::Message() << samples << " samples from " << from << " to " << to << " Hz");
            auto const level = [](int channel, std::int64_t) { return channel == 0 ? 0.25 : -0.5; };
            Channels const result =
                Convert({in, {SampleFormats::S16, to, s_stereo}}, *MakeAudio(in, samples, level));
            auto const expected = std::size_t(std::llround(double(samples) * to / from));
            ASSERT_EQ(result.empty() ? 0 : result[1].size(), expected);
            for (std::size_t channel = 0; channel < result.size(); ++channel) {
                auto const [least, most] = std::ranges::minmax(result[channel]);
                EXPECT_NEAR(least, level(int(channel), 0), 0.1);
                EXPECT_NEAR(most, level(int(channel), 0), 0.1);
            }
        }
    }
}

TEST(SafeSwrContextTest, BlocksOfAnyLengthGiveTheSameSamplesAtTheirTimes) {
    struct {
        SampleFormats from;
        SampleFormats to;
        ChannelLayout toLayout;
    } const forms[] = {{SampleFormats::S16, SampleFormats::S16Planar, s_stereo},
                       {SampleFormats::FloatPlanar, SampleFormats::Float, s_mono},
                       {SampleFormats::U8, SampleFormats::Double, Layout("5.1")}};
    constexpr std::int64_t start = 12'345'678;
    constexpr std::int64_t jump = 3'000'000;
    std::minstd_rand random;
    for (Rates const& rates : s_rates)
        for (auto const& form : forms) {
            int const from = rates.from;
            int const to = rates.to;
            SCOPED_TRACE(AudioText({form.from, from, s_stereo}) + " to " +
                         AudioText({form.to, to, form.toLayout}));
            int const length = from / 4;
            SP<DataAudioFF> const whole = MakeAudioNoise({form.from, from, s_stereo}, length);
            whole->SetTime(start);
            SwrCtxParams const params{whole->GetSampleInfo(), {form.to, to, form.toLayout}};
            Channels const expected = Convert(params, *whole);

            SafeSwrContext converter(params);
            Channels result;
            int const later = length / 2; // from there on times jump
            auto const take = [&](std::optional<SafeFrame> const& block) {
                if (!block)
                    return;
                std::size_t const first = result.empty() ? 0 : result[0].size();
                bool const isLater = double(first) * from / to >= later;
                EXPECT_NEAR(double((*block)->pts),
                            double(start + (isLater ? jump : 0)) + double(first) * 1e6 / to, 1.01);
                EXPECT_NEAR(double(DataAudioFF(**block).GetDuration()), (*block)->nb_samples * 1e6 / to,
                            0.51);
                AppendAudio(result, **block);
            };
            for (int done = 0; done < length;) {
                int const count =
                    std::min({int(random() % 1200), length - done, done < later ? later - done : length});
                SP<DataAudioFF> const block = CutAudio(*whole, done, count);
                if (done >= later)
                    block->SetTime(block->GetTime() + jump);
                take(converter.Convert(*block->GetAVFrame()));
                done += count;
            }
            take(converter.Flush());
            EXPECT_EQ(result, expected);
        }
}

TEST(SafeSwrContextTest, TimesThatAreNotKnown) {
    SampleInfo const in{SampleFormats::S16, 24000, s_mono};
    SafeSwrContext converter({in, {SampleFormats::S16, 48000, s_mono}});
    std::vector<std::int64_t> times;
    // Blocks of 10 ms; the first sample that comes of a block lies 15 of the input's before it.
    for (std::int64_t const time :
         {AV_NOPTS_VALUE, std::int64_t{10'000}, AV_NOPTS_VALUE, std::int64_t{90'000}}) {
        SP<DataAudioFF> const block = MakeAudioNoise(in, 240);
        block->SetTime(time);
        times.push_back((*converter.Convert(*block->GetAVFrame()))->pts);
    }
    EXPECT_EQ(times[0], AV_NOPTS_VALUE);
    EXPECT_EQ(times[1], AV_NOPTS_VALUE);
    EXPECT_NEAR(double(times[2]), 20'000 - 16 * 1e6 / 24000, 200);
    EXPECT_NEAR(double(times[3]), 30'000 - 16 * 1e6 / 24000, 200);
    EXPECT_GT(converter.Flush().value()->pts, 99'000);
}

TEST(SafeSwrContextTest, RefusalsNameBothSides) {
    SampleInfo const good{SampleFormats::S16, 48000, s_stereo};
    for (auto const& [to, text] : {std::pair(SampleInfo(), "unknown rate unknown format unknown layout"),
                                   {{SampleFormats::S16, 48000, {0, 9}},
                                    "48000 Hz s16 9 channels: channels without a layout cannot be mixed"},
                                   {{SampleFormats::S16, 48000, {0x7, 2}}, "48000 Hz s16 3.0"},
                                   {{SampleFormats::FloatPlanar, 187, s_stereo},
                                    "187 Hz fltp stereo: one rate is more than 256 times the other"}})
        EXPECT_EQ(TextOf<EffectException>([&, &wanted = to] {
                      SafeSwrContext({good, wanted});
                  }),
                  std::string("Cannot convert audio from 48000 Hz s16 stereo to ") + text);
}

TEST(SafeSwrContextTest, ConvertsOnlyWhatItWasMadeFor) {
    SampleInfo const in{SampleFormats::S16Planar, 48000, s_stereo};
    SafeSwrContext converter({in, {SampleFormats::Float, 44100, s_stereo}});
    auto const refuse = [&](AVFrame const& frame) {
        return TextOf<EffectException>([&] { converter.Convert(frame); });
    };
    EXPECT_EQ(refuse(*MakeAudioNoise({SampleFormats::S16Planar, 48000, s_mono}, 10)->GetAVFrame()),
              "Cannot convert audio from 48000 Hz s16p mono to 44100 Hz flt stereo: the converter is for "
              "48000 Hz s16p stereo");
    SP<DataAudioFF> const block = MakeAudioNoise(in, 500);
    SafeFrame lying = SafeFrame::Reference(*block->GetAVFrame());
    lying->nb_samples = 1000;
    std::string const holdsFewer =
        "A block of audio said to be of 1000 samples of 48000 Hz s16p stereo holds fewer";
    EXPECT_EQ(refuse(*lying), holdsFewer);
    lying->data[1] = nullptr;
    EXPECT_EQ(refuse(*lying), holdsFewer);

    SafeSwrContext moved(std::move(converter));
    EXPECT_FALSE(converter);
    EXPECT_EQ(refuse(*block->GetAVFrame()), "The audio converter is empty");
    EXPECT_THROW(converter.Flush(), EffectException);
    EXPECT_TRUE(moved.Convert(*block->GetAVFrame()));
}

TEST(SafeSwrContextTest, GoesOnAfterMemoryRanOut) {
    SampleInfo const in{SampleFormats::S16, 44100, s_stereo};
    SwrCtxParams const params{in, {SampleFormats::Float, 48000, s_stereo}};
    SP<DataAudioFF> const block = MakeAudioNoise(in, 5000);
    {
        AllocationLimit const limit(64);
        EXPECT_THROW(SafeSwrContext{params}, Core::MemoryException);
    }
    SafeSwrContext converter(params);
    converter.Convert(*block->GetAVFrame());
    for (std::size_t bytes = 64; bytes < 40000; bytes *= 2) {
        AllocationLimit const limit(bytes);
        EXPECT_THROW(converter.Convert(*block->GetAVFrame()), Core::MemoryException) << bytes;
    }
    Channels result;
    AppendAudio(result, *converter.Convert(*block->GetAVFrame()).value());
    AppendAudio(result, *converter.Flush().value());
    EXPECT_EQ(result, Convert(params, *block));
}

} // namespace

} // namespace Tarsel::Proc
