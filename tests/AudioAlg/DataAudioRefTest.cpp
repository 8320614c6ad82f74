#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Support/Audio.h"
#include "Support/Failure.h"

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
