#include "AudioCases.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEGAudio;
using Proc::IDataAudio;

constexpr char const* s_holding = "compand=.01|.01:.2|.2:-900/-900|0/0:6:0:-90:.1";

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

/// Every sample of every channel comes through, and what went in stays as it was.
TEST(AudioGraph, CopiesAllPlanes) {
    for (std::uint32_t format = 0; format < 10; ++format)
        for (Conf::ChannelLayout const layout : {Conf::ChannelLayout{4, 1}, {3, 2}, {0x3F, 6}, {0x63F, 8}})
            for (int const count : {1, 333}) {
                auto const info = SampleInfo::Init(static_cast<SampleFormats>(format), 44100, layout);
                auto const graph = EffectFFMPEGAudio::Create("anull", info);
                SP<IDataAudio> const in = MakeAudioNoise(info, count);
                in->SetTime(-7);
                in->SetDuration(9);
                std::string const before = GetRaw({in});
                SP<IDataAudio> data = in;
                graph->Process(data);
                ASSERT_NE(data, in);
                EXPECT_EQ(data->GetSampleInfo(), info);
                EXPECT_EQ(GetRaw({data}), before);
                EXPECT_EQ(data->GetTime(), -7);
                EXPECT_EQ(data->GetDuration(), 9);
                SetSample(*data->GetAVFrame(), 0, 0, 0.5);
                EXPECT_EQ(GetRaw({in}), before);
                EXPECT_EQ(in->GetTime(), -7);
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

TEST(AudioGraph, StreamHasTimesOfTheSink) {
    // Audio that is converted gets its times in whole samples, and the noise gate's own forget gaps.
    for (auto const& [filter, second] : {std::pair{"anull", 1000007}, {s_holding, 100000}}) {
        auto const graph = EffectFFMPEGAudio::Create(filter, s_stereo);
        Blocks out;
        for (std::int64_t time : {7, 1000007}) {
            SP<IDataAudio> const in = MakeAudioNoise(s_stereo, 4410);
            in->SetTime(time);
            graph->Feed(in);
            while (SP<IDataAudio> data = graph->Take())
                out.push_back(data);
        }
        graph->End();
        while (SP<IDataAudio> data = graph->Take())
            out.push_back(data);
        EXPECT_EQ(CountSamples(out), 8820);
        EXPECT_NEAR(static_cast<double>(out.front()->GetTime()), 7, 12);
        std::int64_t samples = 0;
        for (SP<IDataAudio> const& data : out) {
            EXPECT_NEAR(static_cast<double>(data->GetDuration()),
                        static_cast<double>(data->GetSampleCount()) / 0.0441, 1);
            if (samples == 4410) {
                EXPECT_NEAR(static_cast<double>(data->GetTime()), second, 12);
            }
            samples += data->GetSampleCount();
        }
    }
}

TEST(AudioGraph, SampleFormatsOfNobodyAreRefused) {
    auto const graph = EffectFFMPEGAudio::Create("aformat=sample_fmts=s64", s_stereo);
    SP<IDataAudio> const block = MakeAudioNoise(s_stereo, 10);
    SP<IDataAudio> data = block;
    EXPECT_EQ(Catch([&] { graph->Process(data); }).text,
              "Cannot make a block of audio: sample format -1 is not one of 0 to 9");
    EXPECT_EQ(data, block);
}

} // namespace
} // namespace Tarsel::Test
