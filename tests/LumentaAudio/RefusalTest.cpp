#include "AudioCases.h"
#include "Check/RandomSettings.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Delay.h"
#include "Support/Child.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

/// What FFmpeg's filters do not survive, and what they do.
namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::IDataAudio;

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
        EXPECT_EQ(RunChild(run, std::chrono::seconds(100)).text, "done") << row;
    }
}

} // namespace
} // namespace Tarsel::Test
