#include "AudioCases.h"
#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEGTwoInputAudio;
using Proc::IDataAudio;

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
