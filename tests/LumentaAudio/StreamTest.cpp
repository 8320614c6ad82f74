#include "AudioCases.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Support/MemoryWatch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

extern "C" {
#include <libavutil/avutil.h>
}

/// Audio effects as streams: nothing is lost, added or shifted.
namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::IDataAudio;

constexpr std::int64_t s_start = 123457;

std::int64_t ToTime(std::int64_t samples, std::int32_t rate) {
    return s_start + std::llround(static_cast<double>(samples) * 1e6 / rate);
}

class AudioStreams : public testing::TestWithParam<AudioCase> {};

TEST_P(AudioStreams, KeepSamplesAndTimesForLong) {
    AudioCase const& row = GetParam();
    constexpr std::int32_t rate = 44100;
    std::int64_t const seconds = std::getenv("LUMENTA_TEST_FULL") ? 600 : 30;
    auto const info = SampleInfo::Init(SampleFormats::Float, rate, {4, 1});
    SP<IDataAudio> const audio = MakeAudioNoise(info, 5000);
    auto const effect = row.Make();
    auto& stream = StreamOf(*effect);
    std::mt19937 random(7);
    std::int64_t fed = 0;
    std::int64_t taken = 0;
    std::int64_t mostHeld = 0;
    auto const take = [&] {
        while (SP<IDataAudio> block = stream.Take()) {
            // Times of blocks that went in are rounded, and those within such a block again.
            ASSERT_LE(std::abs(block->GetTime() - ToTime(taken, rate)), 1);
            taken += block->GetSampleCount();
            EXPECT_NEAR(static_cast<double>(block->GetTime() + block->GetDuration()),
                        static_cast<double>(ToTime(taken, rate)), 1);
        }
    };
    std::size_t base = 0;
    while (fed < seconds * rate) {
        auto const count = static_cast<int>(random() % 5001);
        SP<IDataAudio> const block = CutAudio(*audio, 0, count);
        block->SetTime(ToTime(fed, rate));
        stream.Feed(block);
        fed += count;
        ASSERT_NO_FATAL_FAILURE(take());
        mostHeld = std::max(mostHeld, fed - taken);
        if (base == 0 && fed > seconds * rate / 3)
            base = GetMemoryInUse();
    }
    std::size_t const last = GetMemoryInUse();
    EXPECT_LT(last - std::min(last, base), 200000U);
    stream.End();
    ASSERT_NO_FATAL_FAILURE(take());
    EXPECT_EQ(taken, fed + row.tail);

    auto const traits = dynamic_cast<Proc::IEffectDetails const&>(*effect).GetTraits();
    EXPECT_EQ(traits.tail, row.tail > 0);
    EXPECT_EQ(mostHeld > 0, traits.delayTime > 0);
    EXPECT_LE(mostHeld * 1000000, traits.delayTime * rate);
    EXPECT_GE(mostHeld * 1000000, traits.delayTime * rate * 9 / 10);
    EXPECT_FALSE(traits.frameIndependent);
    EXPECT_FALSE(traits.slices);
}

/// What a block of an unknown time becomes has an unknown time; a gap stays where it was.
TEST_P(AudioStreams, KeepGapsAndUnknownTimes) {
    AudioCase const& row = GetParam();
    Blocks in = Cut(*MakeAudioNoise(s_stereo, 9000), {1000});
    std::vector<std::int64_t> starts;
    for (std::size_t i = 0; i < in.size(); ++i) {
        starts.push_back(i < 4   ? s_start + static_cast<std::int64_t>(i) * 1000000
                         : i < 7 ? AV_NOPTS_VALUE
                                 : -s_start);
        in[i]->SetTime(starts.back());
    }
    std::int64_t taken = 0;
    for (SP<IDataAudio> const& block : RunStream(*row.Make(), in)) {
        auto const index = std::min<std::size_t>(static_cast<std::size_t>(taken) / 1000, starts.size() - 1);
        std::int64_t const within = taken - static_cast<std::int64_t>(index) * 1000;
        std::int64_t expected = starts[index];
        if (expected != AV_NOPTS_VALUE)
            expected += std::llround(static_cast<double>(within) / 0.0441);
        EXPECT_EQ(block->GetTime(), expected) << taken;
        taken += block->GetSampleCount();
    }
    EXPECT_EQ(taken, 9000 + row.tail);
}

INSTANTIATE_TEST_SUITE_P(AudioEffects, AudioStreams, testing::ValuesIn(GetAudioCases()),
                         [](auto const& test) { return test.param.name; });

} // namespace
} // namespace Tarsel::Test
