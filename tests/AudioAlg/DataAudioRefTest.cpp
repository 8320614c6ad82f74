#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Support/Failure.h"
#include "Support/Sound.h"

#include <gmock/gmock.h>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::SampleFormats;

Conf::SampleInfo InfoOf(int format, std::uint8_t channels) {
    return {static_cast<SampleFormats>(format), 48000, {0, channels}};
}

/// The largest sample is in the last channel.
SP<DataAudioFF> MakeBlock(Conf::SampleInfo const& info, int samples) {
    return Tarsel::Test::MakeSound(info, samples, [&](int channel, std::int64_t i) {
        return channel + 1 == info.layout.channels && i + 1 == samples ? 0.875
                                                                       : 0.001 * static_cast<double>(i % 500);
    });
}

// Every channel has a plane of its own there, which lies where the allocator put it.
TEST(DataAudioRef, CoversBlocksWhereverTheirPlanesLie) {
    for (int format = 0; format < 10; ++format)
        for (std::uint8_t const channels : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{12}}) {
            SP<DataAudioFF> const block = MakeBlock(InfoOf(format, channels), 333);
            JoinedAudio const joined(*block);
            EXPECT_EQ(joined.GetRef().info, block->GetSampleInfo());
            EXPECT_EQ(joined.GetRef().sampleCount, 333U);
            EXPECT_NEAR(EstimateLevel(joined.GetRef()).peak, 0.875, 1e-4);

            // Plane by plane it is the same sound.
            int const planes = CountPlanes(*block);
            EXPECT_EQ(planes, format >= 5 ? channels : 1);
            for (int i : {0, 111, 332}) {
                std::vector<double> together;
                std::vector<double> planewise;
                GetAudioSamples(joined.GetRef(), i, together);
                for (int plane = 0; plane < planes; ++plane)
                    GetAudioSamples(GetPlaneRef(*block, plane), i, planewise);
                EXPECT_EQ(together, planewise) << "format " << format << ", sample " << i;
                EXPECT_EQ(together.size(), channels);
            }
        }
}

// Written through their views, and nothing beside the samples.
TEST(DataAudioRef, PlanesAreViewsWithoutPadding) {
    for (int const format : {3, 8}) {
        SP<DataAudioFF> const loud = Tarsel::Test::MakeSound(
            InfoOf(format, 2), 5, [](int, std::int64_t i) { return i % 2 == 0 ? 3.0 : -3.0; });
        SP<DataAudioFF> const clipped = MakeBlock(InfoOf(format, 2), 5);
        int const planes = CountPlanes(*clipped);
        auto const size = static_cast<std::size_t>(40 / planes);
        for (int plane = 0; plane < planes; ++plane) {
            AudioRef const ref = GetPlaneRef(*clipped, plane);
            ASSERT_EQ(static_cast<std::size_t>(ref.lineSize), size);
            ref.samples[size] = 0xA5; // FFmpeg pads its planes.
            ClipAudio(ref, GetPlaneRef(*loud, plane));
            EXPECT_EQ(ref.samples[size], 0xA5);
        }
        for (int channel = 0; channel < 2; ++channel)
            for (int i = 0; i < 5; ++i)
                EXPECT_EQ(Tarsel::Test::GetSample(*clipped->GetAVFrame(), channel, i),
                          i % 2 == 0 ? 1.0 : -1.0);
    }
}

TEST(DataAudioRef, JoinedPlanesAreNotCopied) {
    std::vector<float> memory(3 * 16);
    SafeFrame frame;
    frame->format = static_cast<int>(SampleFormats::FloatPlanar);
    frame->sample_rate = 48000;
    frame->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
    frame->ch_layout.nb_channels = 3;
    frame->nb_samples = 10;
    frame->linesize[0] = 16 * sizeof(float);
    for (int plane = 0; plane < 3; ++plane)
        frame->data[plane] = reinterpret_cast<std::uint8_t*>(memory.data() + 16 * plane);
    DataAudioFF const block(std::move(frame));
    JoinedAudio const joined(block);
    EXPECT_EQ(joined.GetRef().samples, reinterpret_cast<std::uint8_t*>(memory.data()));
    EXPECT_EQ(joined.GetRef().lineSize, 64);
}

TEST(DataAudioRef, BlocksWithoutSamples) {
    for (int const format : {1, 6}) {
        SP<DataAudioFF> const block = DataAudioFF::CreateBySampleCount(InfoOf(format, 2), 0);
        EXPECT_EQ(GetPlaneRef(*block, 0).lineSize, 0);
        EXPECT_EQ(EstimateLevel(JoinedAudio(*block).GetRef()).rms, 0.0);
    }
}

TEST(DataAudioRef, RefusesBlocksThatNoLineSizeCanTell) {
    SafeFrame frame;
    frame->format = static_cast<int>(SampleFormats::DoublePlanar);
    frame->ch_layout.nb_channels = 2;
    frame->nb_samples = 1 << 28;
    DataAudioFF const block(std::move(frame));
    EXPECT_EQ(Tarsel::Test::TextOf([&] { GetPlaneRef(block, 0); }),
              "A block of sound has 268435456 samples of 8 bytes; the most is 2147483647 bytes");
}

} // namespace
} // namespace Tarsel::Proc
