#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Proc/Effects/Lumenta/Effects/ResampleFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Support/Arithmetic.h"
#include "Support/AudioStream.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

/// The resampler among effects: what comes out when, and what it says of it. Its samples are
/// SafeSwrContext's.
namespace Tarsel::Test {
namespace {

using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::IDataAudio;

constexpr ChannelLayout s_mono{0x4, 1};
constexpr ChannelLayout s_stereo{0x3, 2};
constexpr SampleInfo s_cd{SampleFormats::S16, 44100, s_stereo};
constexpr SampleInfo s_film{SampleFormats::FloatPlanar, 48000, s_stereo};

SP<Proc::ResampleFF> MakeResampler(SampleInfo const& output) {
    SP<Proc::ResampleFF> const effect = Proc::ResampleFF::Create({}, {});
    effect->Init(output);
    return effect;
}

/// `length` samples from `start` on, in blocks of any length.
Blocks MakeBlocks(SampleInfo const& info, int length, std::int64_t start = 0) {
    SP<Proc::DataAudioFF> const whole = MakeAudioNoise(info, length);
    whole->SetTime(start);
    return Cut(*whole, {1, 700, 0, 1999, 64, 1300});
}

Blocks operator+(Blocks a, Blocks const& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// At most one block for each, then nulls until one stays null.
Blocks RunProcess(Proc::IOneInputEffectAudio& effect, Blocks const& blocks) {
    Blocks results;
    auto const process = [&](SP<IDataAudio> data) {
        effect.Process(data);
        if (data)
            results.push_back(data);
        return data != nullptr;
    };
    for (SP<IDataAudio> const& block : blocks)
        process(block);
    while (process({})) {
    }
    return results;
}

/// Blocks of one form, one after the other.
struct Stretch {
    SampleInfo info;
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::int64_t samples = 0;
    Channels audio;
};

/// The stretches of blocks of one form, each block where the one before ended (to two microseconds, as each
/// time is rounded).
std::vector<Stretch> GetStretches(Blocks const& blocks) {
    std::vector<Stretch> parts;
    for (SP<IDataAudio> const& block : blocks) {
        if (block->GetSampleCount() == 0)
            continue;
        if (parts.empty() || parts.back().info != block->GetSampleInfo())
            parts.push_back({block->GetSampleInfo(), block->GetTime(), block->GetTime(), 0, {}});
        EXPECT_NEAR(static_cast<double>(block->GetTime()), static_cast<double>(parts.back().end), 2);
        parts.back().end = block->GetTime() + std::llround(static_cast<double>(block->GetSampleCount()) *
                                                           1e6 / block->GetSampleInfo().rate);
        parts.back().samples += block->GetSampleCount();
        AppendAudio(parts.back().audio, *block->GetAVFrame());
    }
    return parts;
}

TEST(Resample, GivesAllOfTheAudioBothWays) {
    constexpr int length = 20000;
    constexpr std::int64_t start = 7'000'000;
    SampleInfo const forms[] = {
        s_cd, s_film, {SampleFormats::S16, 8000, s_mono}, {SampleFormats::S16Planar, 44100, s_stereo}};
    for (SampleInfo const& from : forms)
        for (SampleInfo const& to : forms) {
            if (from == to)
                continue;
            SCOPED_TRACE(Proc::AudioText(from) + " to " + Proc::AudioText(to));
            Channels expected;
            auto const effect = MakeResampler(to);
            for (auto const run : {RunStream, RunProcess, RunStream}) {
                std::vector<Stretch> const parts =
                    GetStretches(run(*effect, MakeBlocks(from, length, start)));
                ASSERT_EQ(parts.size(), 1U);
                EXPECT_EQ(parts[0].info, to);
                EXPECT_EQ(parts[0].start, start);
                EXPECT_EQ(parts[0].samples, std::llround(double(length) * to.rate / from.rate));
                EXPECT_TRUE(expected.empty() || parts[0].audio == expected); // again and again
                expected = parts[0].audio;
            }
        }
}

TEST(Resample, TheRestOfOneFormComesBeforeTheNext) {
    SampleInfo const phone{SampleFormats::U8, 8000, s_mono};
    SampleInfo const asked{SampleFormats::Unknown, 48000, {}};
    for (auto const run : {RunStream, RunProcess}) {
        auto const effect = MakeResampler(asked);
        std::vector<Stretch> const parts = GetStretches(
            run(*effect, MakeBlocks(s_cd, 44100) + MakeBlocks(phone, 8000, 1'000'000) +
                             MakeBlocks(s_film, 24000, 2'000'000) + MakeBlocks(s_cd, 4410, 2'500'000)));
        ASSERT_EQ(parts.size(), 4U);
        EXPECT_EQ(parts[0].info, (SampleInfo{SampleFormats::S16, 48000, s_stereo}));
        EXPECT_EQ(parts[1].info, (SampleInfo{SampleFormats::U8, 48000, s_mono}));
        EXPECT_EQ(parts[2].info, s_film);
        EXPECT_EQ(parts[3].info, parts[0].info);
        std::vector<std::int64_t> samples;
        for (Stretch const& each : parts)
            samples.push_back(each.samples);
        EXPECT_THAT(samples, testing::ElementsAre(48000, 48000, 24000, 4800));
        EXPECT_EQ(parts[1].start, 1'000'000);
        EXPECT_EQ(parts[3].start, 2'500'000);
    }
}

TEST(Resample, RefusesWhatCannotBeConvertedAndGoesOn) {
    auto const effect = MakeResampler(s_film);
    SampleInfo const odd{SampleFormats::S16, 44100, {0, 9}};
    std::string const text = "Cannot convert audio from 44100 Hz s16 9 channels to 48000 Hz fltp stereo: "
                             "channels without a layout cannot be mixed";
    SP<Conf::IFormatCodecAudio> format = MakeSP<Conf::FormatCodecAudio>(odd);
    EXPECT_THAT([&] { effect->UpdateFormatCodec(format); },
                testing::ThrowsMessage<Proc::EffectException>(text));
    EXPECT_EQ(format->GetSampleInfo(), odd);
    effect->Feed(MakeAudioNoise(s_cd, 4410));
    EXPECT_THAT([&] { effect->Feed(MakeAudioNoise(odd, 10)); },
                testing::ThrowsMessage<Proc::EffectException>(text));
    std::vector<Stretch> const parts = GetStretches(RunStream(*effect, {}));
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].samples, 4800);
    EXPECT_EQ(GetStretches(RunStream(*effect, MakeBlocks(s_cd, 4410)))[0].samples, 4800);
}

TEST(Resample, TakesSettingsThreeWays) {
    SP<Proc::ResampleFF> const effect = MakeResampler(s_cd);
    SP<Proc::ResampleFF> const other = Proc::ResampleFF::Create({}, {});
    other->SetSettings(effect->GetSettings());
    EXPECT_TRUE(other->GetSettingsBase().IsEqualTo(effect->GetSettingsBase()));
    other->InitByFormat(MakeSP<Conf::FormatCodecAudio>(SampleInfo{SampleFormats::Unknown, 48000, {}}));
    EXPECT_EQ(other->GetSettings()["rate"].GetInt64(), 48000);
    EXPECT_THROW(effect->InitByFormat(nullptr), Proc::EffectException);
    EXPECT_THAT(
        [&] {
            effect->Init({SampleFormats::S16, -7, {}});
        },
        testing::ThrowsMessage<Proc::SettingsException>(
            "resample: rate=-7 is out of range: 0 to 768000 (Hz)"));
    EXPECT_THROW(effect->Init({static_cast<SampleFormats>(77), 44100, {}}), Proc::SettingsException);
    EXPECT_EQ(effect->GetSettings()["rate"].GetInt64(), 44100);
}

/// Bit for bit what the ffmpeg program makes of it, but for a last sample of which less than a half lies
/// within the audio.
TEST(Resample, GivesWhatFFmpegGives) {
    struct {
        SampleInfo from;
        SampleInfo to;
        char const* raw;
        char const* outRaw;
    } const cases[] = {
        {s_cd, {SampleFormats::S16, 48000, s_stereo}, "s16le", "s16le"},
        {s_cd, {SampleFormats::Float, 96000, *ChannelLayout::FromName("5.1")}, "s16le", "f32le"},
        {{SampleFormats::Float, 48000, *ChannelLayout::FromName("5.1")}, s_cd, "f32le", "s16le"},
        {{SampleFormats::Double, 44100, s_mono}, {SampleFormats::S16, 8000, s_stereo}, "f64le", "s16le"},
        {{SampleFormats::U8, 8000, s_mono}, {SampleFormats::S32, 44100, s_mono}, "u8", "s32le"},
    };
    TempFolder const folder;
    for (auto const& each : cases) {
        SCOPED_TRACE(Proc::AudioText(each.from) + " to " + Proc::AudioText(each.to));
        Blocks const blocks = MakeBlocks(each.from, 30001);
        WriteFile(folder / "in.raw", GetRaw(blocks));
        auto const name = [](SampleInfo const& info) {
            return std::string(Conf::SampleFmtRecord::Find(info.format).name);
        };
        // Single precision is what it takes for s32.
        std::string const resample =
            each.to.format == SampleFormats::S32 ? "aresample=internal_sample_fmt=dblp" : "aresample";
        std::string const form = "aformat=sample_fmts=" + name(each.to) +
                                 ":sample_rates=" + std::to_string(each.to.rate) +
                                 ":channel_layouts=" + each.to.layout.GetName();
        std::string const expected = RunFFmpeg(
            std::string("-f ") + each.raw + " -ar " + std::to_string(each.from.rate) + " -ac " +
                std::to_string(each.from.layout.channels) + " -channel_layout " + each.from.layout.GetName() +
                " -i",
            {folder / "in.raw", "-af", resample + "," + form}, std::string("-f ") + each.outRaw + " -");
        std::string const raw = GetRaw(RunStream(*MakeResampler(each.to), blocks));
        bool const isRounded =
            each.from.format == SampleFormats::Float && each.to.format == SampleFormats::S16;
        EXPECT_TRUE((s_resamplesByBlock && isRounded) || expected.starts_with(raw));
        std::size_t const frame =
            Conf::SampleFmtRecord::Find(each.to.format).size * std::size_t{each.to.layout.channels};
        EXPECT_LE(expected.size() - raw.size(), frame);
    }
}

} // namespace
} // namespace Tarsel::Test
