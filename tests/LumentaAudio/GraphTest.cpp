#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "SoundCases.h"
#include "Support/AllocationLimit.h"
#include "Support/CommaLocale.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <functional>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/error.h>
}

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::EffectFFMPEGAudio;
using Proc::IDataAudio;

constexpr char const* s_holding = "compand=.01|.01:.2|.2:-900/-900|0/0:6:0:-90:.1";

TEST(AudioGraph, SourceArgs) {
    CommaLocale const comma;
    auto const args = [](SampleFormats format, std::int32_t rate, Conf::ChannelLayout const& layout) {
        return Proc::MakeAudioSourceArgs(SampleInfo::Init(format, rate, layout));
    };
    EXPECT_EQ(args(SampleFormats::FloatPlanar, 44100, {3, 2}),
              "time_base=1/1000000:sample_rate=44100:sample_fmt=fltp:channel_layout=0x3");
    EXPECT_EQ(args(SampleFormats::U8, 2147483647, {0xFFFFFFFF0000000FU, 36}),
              "time_base=1/1000000:sample_rate=2147483647:sample_fmt=u8:channel_layout=0xffffffff0000000f");
    EXPECT_EQ(args(SampleFormats::S16, 8000, {0, 1}),
              "time_base=1/1000000:sample_rate=8000:sample_fmt=s16:channel_layout=0x4");
    EXPECT_EQ(args(SampleFormats::S16, 8000, {0, 61}),
              "time_base=1/1000000:sample_rate=8000:sample_fmt=s16:channels=61");
    EXPECT_EQ(args(SampleFormats::Unknown, -1, {}),
              "time_base=1/1000000:sample_rate=-1:sample_fmt=unknown:channel_layout=0x0");
}

TEST(AudioGraph, UnknownFormatsMakeNoSource) {
    FFmpegWatch const quiet;
    for (SampleInfo const& info : {SampleInfo{}, SampleInfo::Init(SampleFormats::S16, 0, {3, 2}),
                                   SampleInfo::Init(SampleFormats::Unknown, 8000, {3, 2}),
                                   SampleInfo::Init(SampleFormats::S16, 8000, {})}) {
        Failure const failure = Catch([&] { EffectFFMPEGAudio::Create("anull", info); });
        EXPECT_EQ(failure.text, "Cannot create buffer source");
        EXPECT_EQ(failure.filter, "anull");
    }
}

TEST(AudioGraph, NullAsksForNothing) {
    auto const graph = EffectFFMPEGAudio::Create("asetnsamples=n=100:p=0", s_stereo);
    SP<IDataAudio> data = MakeSoundNoise(s_stereo, 250);
    graph->Process(data);
    EXPECT_EQ(data->GetSampleCount(), 100);
    data = nullptr;
    graph->Process(data);
    EXPECT_EQ(data, nullptr);
    // What came out at once comes one by one, with the times of what goes in.
    for (std::int64_t time : {5000, 6000}) {
        data = MakeSoundNoise(s_stereo, 1);
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

TEST(AudioGraph, HeldBackIsNull) {
    auto const graph = EffectFFMPEGAudio::Create(s_holding, s_stereo);
    std::vector<bool> came;
    for (int i = 0; i < 7; ++i) {
        SP<IDataAudio> data = MakeSoundNoise(s_stereo, 1000);
        graph->Process(data);
        came.push_back(data != nullptr);
    }
    EXPECT_EQ(came, (std::vector<bool>{false, false, false, false, true, true, true}));
}

/// Every sample of every channel comes through, and what went in stays as it was.
TEST(AudioGraph, CopiesAllPlanes) {
    for (std::uint32_t format = 0; format < 10; ++format)
        for (Conf::ChannelLayout const layout : {Conf::ChannelLayout{4, 1}, {3, 2}, {0x3F, 6}, {0x63F, 8}})
            for (int const count : {1, 333}) {
                auto const info = SampleInfo::Init(static_cast<SampleFormats>(format), 44100, layout);
                auto const graph = EffectFFMPEGAudio::Create("anull", info);
                SP<IDataAudio> const in = MakeSoundNoise(info, count);
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
        SP<IDataAudio> const in = MakeSoundNoise(info, 40);
        SP<IDataAudio> data = in;
        graph->Process(data);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->GetSampleInfo().layout.channels, channels);
        EXPECT_EQ(GetRaw({data}), GetRaw({in}));
    }
}

TEST(AudioGraph, StreamHasTimesOfTheSink) {
    // Sound that is converted gets its times in whole samples, and the noise gate's own forget gaps.
    for (auto const& [filter, second] : {std::pair{"anull", 1000007}, {s_holding, 100000}}) {
        auto const graph = EffectFFMPEGAudio::Create(filter, s_stereo);
        Blocks out;
        for (std::int64_t time : {7, 1000007}) {
            SP<IDataAudio> const in = MakeSoundNoise(s_stereo, 4410);
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

TEST(AudioGraph, TellsItsFormat) {
    SP<Conf::IFormatCodecAudio> codec = MakeSP<Conf::FormatCodecAudio>(s_stereo);
    EffectFFMPEGAudio::Create("aresample=22050,aformat=sample_fmts=s32p:channel_layouts=5.1", codec)
        ->UpdateFormatCodec(codec);
    EXPECT_EQ(codec->GetSampleInfo(), SampleInfo::Init(SampleFormats::S32Planar, 22050, {0x3F, 6}));
}

TEST(AudioGraph, RefusesWhatItsFilterMustNotSee) {
    struct Case {
        std::function<SP<IDataAudio>()> make;
        char const* text;
    };
    auto const other = [](SampleFormats format, std::int32_t rate, Conf::ChannelLayout const& layout) {
        return [=] { return MakeSoundNoise(SampleInfo::Init(format, rate, layout), 10); };
    };
    auto const changed = [](auto const& change) {
        return [=] {
            SP<IDataAudio> data = MakeSoundNoise(s_stereo, 1000);
            change(*data->GetAVFrame());
            return data;
        };
    };
    char const* const fed = "Error while feeding the filtergraph";
    std::vector<Case> const cases{
        {other(SampleFormats::FloatPlanar, 44100, {3, 2}), fed},
        {other(SampleFormats::Float, 48000, {3, 2}), fed},
        {other(SampleFormats::Float, 44100, {4, 1}), fed},
        {changed([](AVFrame& frame) { frame.nb_samples = 2000; }),
         "Block has only 8192 bytes of the 16000 that its 2000 samples take"},
        {changed([](AVFrame& frame) { frame.data[0] = nullptr; }),
         "Block has samples of only some of its 2 channels"},
        {changed([](AVFrame& frame) { frame.ch_layout = {}; }), "Block has no channels"},
    };
    FFmpegWatch const quiet;
    auto const graph = EffectFFMPEGAudio::Create("aecho", s_stereo);
    for (Case const& bad : cases) {
        SP<IDataAudio> const block = bad.make();
        SP<IDataAudio> data = block;
        Failure const failure = Catch([&] { graph->Process(data); });
        EXPECT_EQ(failure.text, bad.text);
        EXPECT_EQ(failure.filter, "aecho");
        EXPECT_EQ(data, block);
        EXPECT_EQ(Catch([&] { graph->Feed(block); }).text, bad.text);
        data = MakeSoundNoise(s_stereo, 10);
        graph->Process(data);
        EXPECT_NE(data, nullptr);
    }
    SP<IDataAudio> data = cases[0].make();
    Failure const failure = Catch([&] { graph->Process(data); });
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEGAudio");
    EXPECT_EQ(failure.function, "void Tarsel::Proc::EffectFFMPEGAudio::Process(SP<IDataAudio> &)");
    EXPECT_EQ(failure.ffmpegError, AVERROR(EINVAL));
    EXPECT_EQ(failure.code, std::nullopt);
    EXPECT_TRUE(failure.hasStack);
}

TEST(AudioGraph, SampleFormatsOfNobodyAreRefused) {
    auto const graph = EffectFFMPEGAudio::Create("aformat=sample_fmts=s64", s_stereo);
    SP<IDataAudio> const block = MakeSoundNoise(s_stereo, 10);
    SP<IDataAudio> data = block;
    EXPECT_EQ(Catch([&] { graph->Process(data); }).text,
              "Cannot make a block of sound: sample format -1 is none of 0 to 9");
    EXPECT_EQ(data, block);
}

TEST(AudioGraph, OutOfMemory) {
    FFmpegWatch const quiet;
    int processed = 0;
    int failed = 0;
    for (std::size_t bytes = 1; bytes < 1000000; bytes += 1 + bytes / 8) {
        auto const graph = EffectFFMPEGAudio::Create("aecho=1:1:1:0.5", s_stereo);
        SP<IDataAudio> data = MakeSoundNoise(s_stereo, 4000);
        try {
            AllocationLimit const limit(bytes);
            graph->Process(data);
            (data ? processed : failed) += 1;
            EXPECT_EQ(graph->HasFailed() && data, false);
        } catch (Proc::EffectException const& exception) {
            // Unlike with pictures, a refused block has neither a text nor a code of its own.
            EXPECT_EQ(Describe(exception).text, "Error while feeding the filtergraph");
            EXPECT_EQ(Describe(exception).code, std::nullopt);
        } catch (Exception const&) {
        }
    }
    EXPECT_GT(processed, 0);
    EXPECT_GT(failed, 0);
}

} // namespace
} // namespace Tarsel::Test
