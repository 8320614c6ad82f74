#include "AudioCases.h"
#include "Check/RandomSettings.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Delay.h"
#include "Support/Child.h"
#include "Support/LibraryEffects.h"
#include "Support/MemoryWatch.h"
#include "Support/Process.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

extern "C" {
#include <libavutil/avutil.h>
}

/// Audio effects as streams: nothing is lost, added or shifted, and no filter gets what it would not survive.
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

TEST(AudioRefusals, SayWhatIsTooMuch) {
    using Chorus = Proc::SettingsAudioChorus;
    struct Refusal {
        std::unique_ptr<Proc::Settings> settings;
        std::int32_t rate;
        Conf::ChannelLayout layout;
        std::string text;
    };
    constexpr Conf::ChannelLayout stereo{3, 2};
    auto const voice = [](double speed, double depth) {
        auto chorus = std::make_unique<Chorus>();
        chorus->voices = {{1000, 0.5, 1, 0}, {1000, 0.5, speed, depth}};
        return chorus;
    };
    auto const flanger = [](char const* speed) {
        return MakeSettings("flanger", std::string("speed=") + speed);
    };
    auto const echo = [](char const* options) { return MakeSettings("echo", options); };
    Refusal const rows[]{
        {flanger("10"), 9, stereo, "flanger at 10 Hz needs audio of at least that sample rate, not 9"},
        {flanger("10"), 10, stereo, ""},
        {flanger("0.1"), 1, stereo, ""},
        {voice(20, 0), 20, stereo, "chorus at 20 Hz needs audio of a higher sample rate, not 20"},
        {voice(20, 0), 21, stereo, ""},
        {voice(0, 0), 44100, stereo, "chorus needs a speed above 0 Hz, not 0"},
        {voice(1, -0.5), 44100, stereo, "chorus needs a depth of at least 0 ms, not -0.5"},
        {voice(1e-5, 0), 44100, stereo,
         "chorus would need 16823 MiB of memory for this audio and these settings, more than 1024"},
        {voice(1, 1e7), 44100, stereo,
         "chorus would need 3365 MiB of memory for this audio and these settings, more than 1024"},
        {echo("echos=1/0.5|90000/0.5"), 192000, {0x63F, 8}, ""},
        {echo("echos=1/0.5|45000/0.5:scale=2"),
         384000,
         {0x63F, 8},
         "echo would need 1055 MiB of memory for this audio and these settings, more than 1024"},
    };
    for (Refusal const& row : rows) {
        SCOPED_TRACE(row.text);
        FFmpegWatch const quiet;
        auto const effect = MakeEffect(row.settings->GetClassId());
        effect->SetSettings(*row.settings);
        SP<IDataAudio> const block =
            MakeAudioNoise(SampleInfo::Init(SampleFormats::Float, row.rate, row.layout), 30);
        SP<IDataAudio> data = block;
        if (row.text.empty()) {
            effect->Process(data);
            EXPECT_NE(data, nullptr);
            continue;
        }
        Failure const failure = Catch([&] { effect->Process(data); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(data, block);
        EXPECT_EQ(Catch([&] { StreamOf(*effect).Feed(block); }).text, row.text);
    }
}

/// Noise with numbers in it that are none.
SP<IDataAudio> MakeWild(SampleInfo const& info, int count, std::mt19937& random) {
    SP<IDataAudio> const block = MakeAudioNoise(info, count);
    if (StepOf(info.format) != 0)
        return block;
    constexpr double wild[]{std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(), 1e30, -1e-40};
    for (int i = 0; i < count; ++i)
        if (random() % 8 == 0)
            SetSample(*block->GetAVFrame(), static_cast<int>(random() % info.layout.channels), i,
                      wild[random() % std::size(wild)]);
    return block;
}

/// One stream with drawn settings and blocks, refused or not.
void RunWild(AudioCase const& row, std::uint32_t seed) {
    constexpr std::int32_t rates[]{1, 7, 9, 20, 21, 100, 8000, 44100, 192000};
    constexpr Conf::ChannelLayout layouts[]{{4, 1}, {3, 2}, {0, 3}, {0x3F, 6}, {0, 12}};
    constexpr int sizes[]{0, 1, 2, 3, 100, 1024, 5000};
    std::mt19937 random(seed);
    auto const pick = [&](auto const& list) { return list[random() % std::size(list)]; };
    auto const effect = MakeEffect(row.classId);
    effect->SetSettings(*Check::RandomSettings(seed).Draw(effect->GetSettingsBase()));
    auto const info = SampleInfo::Init(static_cast<SampleFormats>(random() % 10), pick(rates), pick(layouts));
    auto& stream = StreamOf(*effect);
    try {
        for (int i = 0; i < 6; ++i) {
            stream.Feed(MakeWild(info, pick(sizes), random));
            TakeAll(stream);
        }
        stream.End();
        for (int i = 0; i < 20 && stream.Take(); ++i) {
        }
    } catch (Proc::EffectException const&) {
    }
}

TEST(AudioRefusals, NoSettingsAndSamplesTakeTheHostDown) {
    std::uint32_t const runs = std::getenv("LUMENTA_TEST_FULL") ? 400 : 40;
    for (AudioCase const& row : GetAudioCases()) {
        auto const run = [&] {
            FFmpegWatch const quiet;
            for (std::uint32_t seed = 0; seed < runs; ++seed)
                RunWild(row, seed);
            return std::string("done");
        };
        EXPECT_EQ(RunChild(run, 2 * GetPatience()).text, "done") << row;
    }
}

} // namespace
} // namespace Tarsel::Test
