#include "Tools/Tarsel/Mixer.h"

#include "Support/Sound.h"
#include "Tools/Tarsel/SoundSource.h"

#include <gtest/gtest.h>

namespace Tarsel::Tools {
namespace {

using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;

/// Blocks of `block` samples, `count` in all; sample n of every channel is value(n).
SoundSource::Next MakeSource(SampleInfo const& info, int count, int block,
                             std::function<double(int)> const& value) {
    return [=, n = 0]() mutable -> SP<Proc::IDataAudio> {
        if (n == count)
            return nullptr;
        int const length = std::min(block, count - n);
        auto data = Proc::DataAudioFF::CreateBySampleCount(info, length);
        for (int i = 0; i < length; ++i, ++n)
            for (int c = 0; c < info.layout.channels; ++c)
                Tarsel::Test::SetSample(*data->GetAVFrame(), c, i, value(n));
        return data;
    };
}

TEST(SoundSource, PiecesAreTheSoundHoweverItIsCut) {
    SampleInfo const from{SampleFormats::S16, 8000, ChannelLayout::FromCount(2)};
    SampleInfo const to{SampleFormats::DoublePlanar, 8000, ChannelLayout::FromCount(2)};
    for (int const block : {1, 7, 100}) {
        SoundSource source(MakeSource(from, 50, block, [](int n) { return n / 64.0; }), to);
        int n = 0;
        while (auto const piece = source.Take(8)) {
            EXPECT_LE(piece->GetSampleCount(), 8);
            for (int i = 0; i < piece->GetSampleCount(); ++i, ++n)
                ASSERT_EQ(Tarsel::Test::GetSample(*piece->GetAVFrame(), 1, i), n / 64.0);
        }
        EXPECT_EQ(n, 50);
        EXPECT_EQ(source.Take(8), nullptr);
    }
}

TEST(SoundSource, ResamplingLosesNothingAtTheEnd) {
    SampleInfo const from{SampleFormats::FloatPlanar, 8000, ChannelLayout::FromCount(1)};
    SampleInfo const to{SampleFormats::DoublePlanar, 48000, ChannelLayout::FromCount(1)};
    SoundSource source(MakeSource(from, 1001, 90, [](int) { return 0.5; }), to);
    double last = 0;
    std::int64_t count = 0;
    while (auto const piece = source.Take(256)) {
        count += piece->GetSampleCount();
        last =
            Tarsel::Test::GetSample(*piece->GetAVFrame(), 0, static_cast<int>(piece->GetSampleCount()) - 1);
    }
    EXPECT_EQ(count, 6006);
    EXPECT_NEAR(last, 0.5, 0.01);
}

TEST(Mixer, TakesTheFinestFormat) {
    auto const layout = [](int channels) {
        return ChannelLayout::FromCount(static_cast<std::uint8_t>(channels));
    };
    SampleInfo const inputs[]{{SampleFormats::S16, 22050, layout(1)},
                              {SampleFormats::U8, 48000, {0, 3}},
                              {SampleFormats::Float, 44100, layout(3)}};
    EXPECT_EQ(ChooseMixFormat(inputs), (SampleInfo{SampleFormats::DoublePlanar, 48000, {0, 3}}));
}

TEST(Mixer, ClipsOnlyTheSumAndTellsItsPeak) {
    SampleInfo const format{SampleFormats::DoublePlanar, 8000, ChannelLayout::FromCount(2)};
    std::vector<MixInput> inputs;
    // Far beyond full scale, and back by the second, which ends earlier.
    inputs.push_back(
        {SoundSource(MakeSource(format, 20000, 999, [](int n) { return n / 20000.0; }), format), 4});
    inputs.push_back(
        {SoundSource(MakeSource(format, 9000, 100, [](int n) { return n / 20000.0; }), format), -3.5});
    Mixer mixer(format, std::move(inputs));
    int n = 0;
    while (auto const block = mixer.Next())
        for (int i = 0; i < block->GetSampleCount(); ++i, ++n) {
            double const value = n / 20000.0;
            ASSERT_DOUBLE_EQ(Tarsel::Test::GetSample(*block->GetAVFrame(), 1, i),
                             n < 9000 ? 4 * value - 3.5 * value : std::min(4 * value, 1.0))
                << n;
        }
    EXPECT_EQ(n, 20000);
    EXPECT_DOUBLE_EQ(mixer.GetPeak(), 4 * 19999 / 20000.0);
}

} // namespace
} // namespace Tarsel::Tools
