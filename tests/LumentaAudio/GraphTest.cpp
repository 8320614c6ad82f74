#include "AudioCases.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEGAudio;
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

} // namespace
} // namespace Tarsel::Test
