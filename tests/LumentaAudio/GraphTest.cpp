#include "AudioCases.h"
#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEGAudio;
using Proc::EffectFFMPEGAudioGenerator;
using Proc::EffectFFMPEGTwoInputAudio;
using Proc::IDataAudio;

TEST(AudioGraph, NullAsksForNothing) {
    auto const graph = EffectFFMPEGAudio::Create("asetnsamples=n=100:p=0", s_stereo);
    SP<IDataAudio> data = MakeAudioNoise(s_stereo, 250);
    graph->Process(data);
    EXPECT_EQ(data->GetSampleCount(), 100);
    data = nullptr;
    graph->Process(data);
    EXPECT_EQ(data, nullptr);
    // What came out at once comes one by one, with the times of what goes in.
    for (std::int64_t time : {5000, 6000}) {
        data = MakeAudioNoise(s_stereo, 1);
        data->SetTime(time);
        data->SetDuration(time / 10);
        graph->Process(data);
        if (time == 6000) {
            EXPECT_EQ(data, nullptr);
            continue;
        }
        EXPECT_EQ(data->GetSampleCount(), 100);
        EXPECT_EQ(data->GetTime(), time);
        EXPECT_EQ(data->GetDuration(), time / 10);
    }
}

TEST(AudioGraph, CarriesLayoutsWithoutAName) {
    for (std::uint8_t const channels : {std::uint8_t{3}, std::uint8_t{12}, std::uint8_t{40}}) {
        auto const info = SampleInfo::Init(SampleFormats::FloatPlanar, 48000, {0, channels});
        auto const graph = EffectFFMPEGAudio::Create("volume=1,aecho=1:1:1:0.5", info);
        SP<IDataAudio> const in = MakeAudioNoise(info, 40);
        SP<IDataAudio> data = in;
        graph->Process(data);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->GetSampleInfo().layout.channels, channels);
        EXPECT_EQ(GetRaw({data}), GetRaw({in}));
    }
}

TEST(AudioGenerator, RunsItsOwnClock) {
    // Blocks of 1024 samples, of 23219.95 microseconds.
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "sine=frequency=440:sample_rate=44100,asetpts=PTS+44100", s_stereo);
    for (std::int64_t expected :
         {0, 23220, 46440, 69660, 92880, 116100, 139320, 162540, 185760, 208980, 232200, 255420, 278639}) {
        SP<IDataAudio> const block = generator->Get();
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->GetTime(), expected);
        EXPECT_EQ(block->GetSampleCount(), 1024);
        EXPECT_EQ(block->GetDuration(), 0);
        EXPECT_EQ(block->GetRefCount(), 1);
    }
}

TEST(AudioGenerator, EndsWithItsSource) {
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "aevalsrc=exprs=0.5|-0.25:d=0.01:s=8000,aformat=sample_fmts=dbl[out]", s_stereo);
    SP<IDataAudio> const block = generator->Get();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->GetSampleCount(), 80);
    EXPECT_EQ(GetSample(*block->GetAVFrame(), 0, 79), 0.5);
    EXPECT_EQ(GetSample(*block->GetAVFrame(), 1, 79), -0.25);
    EXPECT_EQ(generator->Get(), nullptr);
    EXPECT_EQ(generator->Get(), nullptr);

    SP<Conf::IFormatCodecAudio> codec = MakeSP<Conf::FormatCodecAudio>(s_stereo);
    auto const other = EffectFFMPEGAudioGenerator::Create("anullsrc=r=22050:cl=mono", codec);
    other->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetSampleInfo().rate, 22050);
    EXPECT_EQ(codec->GetSampleInfo().layout, (Conf::ChannelLayout{4, 1}));
}

TEST(AudioGenerator, TakesCommands) {
    auto const generator = EffectFFMPEGAudioGenerator::Create(
        "aevalsrc=exprs=0.5:s=8000:n=100,volume@loud=1:precision=double", s_stereo);
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.5);
    generator->SendCmd("volume@loud", "volume", "0.5");
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.25);
    generator->SendCmd("volume", "volume", "0.25");
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.125);

    FFmpegWatch const quiet;
    for (auto const& [target, command, error] :
         {std::tuple{"nobody", "volume", AVERROR(ENOSYS)}, {"volume", "nothing", AVERROR(ENOSYS)}}) {
        Failure const failure =
            Catch([&, target = target, command = command] { generator->SendCmd(target, command, "1"); });
        EXPECT_EQ(failure.text, "Can't send command to filter");
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator");
        EXPECT_EQ(failure.ffmpegError, error);
        EXPECT_EQ(failure.detail,
                  std::string("Function not implemented; command: ") + target + ' ' + command + " 1");
    }
    EXPECT_EQ(GetSample(*generator->Get()->GetAVFrame(), 0, 0), 0.125);
}

SampleInfo const s_mono = SampleInfo::Init(SampleFormats::DoublePlanar, 8000, {4, 1});

SP<IDataAudio> MakeConstant(int count, double value, SampleInfo const& info = s_mono) {
    return MakeAudio(info, count, [value](int, std::int64_t) { return value; });
}

Blocks PullAll(EffectFFMPEGTwoInputAudio& graph) {
    Blocks out;
    while (SP<IDataAudio> block = graph.Pull())
        out.push_back(block);
    return out;
}

/// Lengths of both audio streams in samples, and what comes of them: runs of equal samples.
struct TwoBlocks {
    char const* description;
    int left;
    int right;
    std::vector<std::pair<double, int>> runs;
    SampleInfo leftInfo = s_mono;
};

TwoBlocks const s_twoBlocks[]{
    // Ends with the shorter one.
    {"amultiply", 2000, 2000, {{0.125, 2000}}},
    {"amultiply", 2000, 900, {{0.125, 900}, {0.5, 1100}}},
    {"amultiply", 900, 2000, {{0.125, 900}}},
    {"amultiply", 2000, 0, {{0.5, 2000}}},
    // A chain, whose result is of another form than the left audio.
    {"amultiply,aformat=sample_fmts=s16", 2000, 900, {{0.125, 900}, {0.5, 1100}}},
    {"amultiply", 2000, 900, {{0.125, 900}, {0.5, 1100}}, {SampleFormats::S16, 8000, {4, 1}}},
    // Ends with the longer one, or with the first.
    {"amix=normalize=0:dropout_transition=0", 2000, 900, {{0.75, 900}, {0.5, 1100}}},
    {"amix=normalize=0", 900, 2000, {{0.75, 900}, {0.25, 1100}}},
    {"amix=normalize=0:duration=first", 900, 2000, {{0.75, 900}}},
    // Gives more than the left audio has.
    {"concat=n=2:v=0:a=1", 900, 1100, {{0.5, 900}, {0.25, 1100}}},
};

class TwoInputAudio : public testing::TestWithParam<TwoBlocks> {};
INSTANTIATE_TEST_SUITE_P(AudioGraph, TwoInputAudio, testing::ValuesIn(s_twoBlocks));

/// Left is 0.5 throughout, right is 0.25.
TEST_P(TwoInputAudio, LosesNothingOfTheLeft) {
    TwoBlocks const& row = GetParam();
    SCOPED_TRACE(row.description);
    auto const graph = EffectFFMPEGTwoInputAudio::Create(row.description, row.leftInfo, s_mono);
    Blocks out;
    auto const pull = [&] {
        for (SP<IDataAudio> const& block : PullAll(*graph))
            out.push_back(block);
    };
    SP<IDataAudio> const left = MakeConstant(row.left, 0.5, row.leftInfo);
    left->SetTime(7000000);
    Blocks const lefts = Cut(*left, {300, 1, 700});
    Blocks const rights = Cut(*MakeConstant(row.right, 0.25), {450});
    for (std::size_t i = 0; i <= std::max(lefts.size(), rights.size()); ++i) {
        if (i < lefts.size())
            graph->PushLeft(lefts[i]);
        if (i == lefts.size())
            graph->EndLeft();
        if (i < rights.size())
            graph->PushRight(rights[i]);
        if (i == rights.size())
            graph->EndRight();
        pull();
    }
    EXPECT_EQ(graph->Pull(), nullptr);

    std::vector<std::pair<double, int>> runs;
    std::int64_t taken = 0;
    SP<Conf::IFormatCodecAudio> codec = MakeSP<Conf::FormatCodecAudio>(s_mono);
    graph->UpdateFormatCodec(codec);
    for (SP<IDataAudio> const& block : out) {
        EXPECT_EQ(block->GetSampleInfo(), codec->GetSampleInfo());
        if (taken < row.left) {
            EXPECT_NEAR(static_cast<double>(block->GetTime()), 7e6 + static_cast<double>(taken) * 125, 1);
        }
        taken += block->GetSampleCount();
        for (int i = 0; i < block->GetSampleCount(); ++i) {
            double const sample = GetSample(*block->GetAVFrame(), 0, i);
            if (runs.empty() || runs.back().first != sample)
                runs.emplace_back(sample, 0);
            ++runs.back().second;
        }
    }
    EXPECT_EQ(runs, row.runs);
}

TEST(TwoInputAudio, WaitsForBoth) {
    auto const graph = EffectFFMPEGTwoInputAudio::Create("amultiply", MakeSP<Conf::FormatCodecAudio>(s_mono));
    graph->PushLeft({});
    graph->PushRight({});
    EXPECT_EQ(graph->Pull(), nullptr);
    SP<IDataAudio> const block = MakeConstant(100, 0.5);
    std::string const before = GetRaw({block});
    graph->PushLeft(block);
    graph->PushLeft(block);
    EXPECT_EQ(graph->Pull(), nullptr);
    graph->PushRight(block);
    EXPECT_EQ(CountSamples(PullAll(*graph)), 100);
    graph->EndLeft();
    graph->PushRight(block);
    EXPECT_EQ(CountSamples(PullAll(*graph)), 100);
    graph->PushRight(block); // too late to matter
    EXPECT_EQ(graph->Pull(), nullptr);
    graph->EndRight();
    EXPECT_EQ(graph->Pull(), nullptr);
    EXPECT_EQ(GetRaw({block}), before);
}

TEST(TwoInputAudio, SaysWhatWasTried) {
    FFmpegWatch const quiet;
    for (std::string const description : {"anull", "no such filter", "asplit[a];[a]", ""}) {
        Failure const failure =
            Catch([&] { EffectFFMPEGTwoInputAudio::Create(description, s_mono, s_mono); });
        EXPECT_EQ(failure.text, "Cannot process graph");
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio");
        EXPECT_NE(failure.filter.find("[left] [in_2] " + description + " [result]"), std::string::npos);
    }
    auto const graph = EffectFFMPEGTwoInputAudio::Create("amix", s_mono, s_mono);
    EXPECT_EQ(Catch([&] { graph->PushLeft(MakeConstant(10, 0, s_stereo)); }).text, "Cannot process graph");
    graph->EndLeft();
    EXPECT_NE(Catch([&] { graph->PushLeft(MakeConstant(10, 0)); }).ffmpegError, std::nullopt);
}

} // namespace
} // namespace Tarsel::Test
