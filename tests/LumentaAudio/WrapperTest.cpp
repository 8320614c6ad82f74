#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Delay.h"
#include "Proc/Settings/Dynamics.h"
#include "Proc/Settings/Equalizer.h"
#include "Proc/Settings/SettingsProperty.h"
#include "SoundCases.h"
#include "Support/AllocationLimit.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <thread>

namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Conf::SampleInfo;
using Proc::IDataAudio;
using Proc::IOneInputEffectAudio;

SP<IDataAudio> MakeBlock(SampleInfo const& info = s_stereo) {
    return MakeSoundNoise(info, 1024);
}

std::int64_t GetProcessed(Proc::IEffect const& effect) {
    return effect.GetStatistic()["Processed"].GetInt64();
}

SP<Conf::IFormatCodecAudio> MakeCodec(SampleInfo const& info = s_stereo) {
    return MakeSP<Conf::FormatCodecAudio>(info);
}

class SoundWrapper : public testing::TestWithParam<SoundCase> {};

TEST_P(SoundWrapper, TellsItsFilterEverywhere) {
    SoundCase const& row = GetParam();
    auto const effect = row.Make();
    EXPECT_EQ(Explain(*effect), row.text);
    EXPECT_FALSE(dynamic_cast<Proc::IEffectDetails const&>(*effect).GetTraits().summary.empty());
    SP<Proc::IData> data = MakeBlock();
    effect->ProcessData(data);
    Core::Property const statistic = effect->GetStatistic();
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    EXPECT_EQ(statistic["Name"].GetString(),
              "virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<Tarsel::Proc::" + row.name +
                  ">>::GetStatistic() const [EffectActionsAudio = EffectActionsAudio<Tarsel::Proc::" +
                  row.name + ">]");
}

TEST_P(SoundWrapper, TakesPropertiesButGivesNone) {
    SoundCase const& row = GetParam();
    auto const effect = row.Make();
    auto const settings = MakeSettings(row.classId, row.options);
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*settings));
    Failure const failure = Catch<std::logic_error>([&] { effect->GetSettings(); });
    EXPECT_EQ(failure.text, "Property settings is not supported");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalAudio");
    EXPECT_EQ(failure.function,
              "virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<Tarsel::Proc::" + row.name +
                  ">>::GetSettings() const [EffectActionsAudio = EffectActionsAudio<Tarsel::Proc::" +
                  row.name + ">]");
    EXPECT_TRUE(failure.hasStack);

    effect->SetSettings(Proc::Settings2Property(*settings));
    bool const reads = row.classId == "noise-gate";
    EXPECT_TRUE(
        effect->GetSettingsBase().IsEqualTo(reads ? *settings : MakeEffect(row.classId)->GetSettingsBase()));
}

TEST_P(SoundWrapper, ForetellsItsFormat) {
    SoundCase const& row = GetParam();
    for (std::uint32_t format = 0; format < 10; ++format) {
        auto const info = SampleInfo::Init(static_cast<SampleFormats>(format), 44100, {3, 2});
        auto const effect = row.Make();
        Blocks const out = RunStream(*effect, {MakeBlock(info)});
        SP<IDataAudio> data = MakeBlock(info);
        effect->Process(data);
        auto const fresh = row.Make();
        // Before any block by a graph, then from the cache, at last by an effect that has a graph.
        for (auto const& asked : {fresh, fresh, effect}) {
            auto codec = MakeCodec(info);
            asked->UpdateFormatCodec(codec);
            EXPECT_EQ(codec->GetSampleInfo(), out.front()->GetSampleInfo());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SoundEffects, SoundWrapper, testing::ValuesIn(GetSoundCases()),
                         [](auto const& test) { return test.param.name; });

/// Settings that leave sound as it is, or just not.
TEST(SoundWrapper, PassesUntouchedWhatItWouldNotChange) {
    for (auto const& [classId, options, isActive] :
         {std::tuple{"equalizer", "", false},
          {"equalizer", "bands=100/3:factor=0", false},
          {"equalizer", "bands=100/3:factor=1e-39", false}, // next to 0
          {"equalizer", "bands=100/3:factor=-1.2e-38", true},
          {"equalizer", "bands=22050/3|30000/3", false},
          {"echo", "", false},
          {"echo", "echos=100/0.5:scale=0", false},
          {"echo", "echos=100/0.5", true},
          {"chorus", "", false},
          {"chorus", "voices=40/0.5/1/1:scale=0", false},
          {"chorus", "voices=40/0.5/1/1:scale=1.2e-38", true},
          {"noise-gate", "threshold=-4.999999999:reduction=0.5", false},
          {"noise-gate", "threshold=-5:reduction=0.5", true},
          {"noise-gate", "threshold=-40:reduction=0", false},
          {"distortion", "amount=0", true},
          {"compressor", "mix=0", true},
          {"gate", "range=0", true},
          {"reverb", "amount=0", true},
          {"flanger", "width=0", true},
          {"vibrato", "depth=0", true}}) {
        SCOPED_TRACE(classId + (std::string(" ") + options));
        auto const effect = MakeEffect(classId, options);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        effect->Process(data);
        EXPECT_EQ(data != block, isActive);
        EXPECT_EQ(GetProcessed(*effect), isActive ? 1 : 0);
        EXPECT_EQ(Explain(*effect).empty(), !isActive);
        if (isActive)
            continue;
        auto codec = MakeCodec();
        EXPECT_EQ(CountGraphs([&] { effect->UpdateFormatCodec(codec); }), 0);
        EXPECT_EQ(codec->GetSampleInfo(), s_stereo);
        EXPECT_EQ(RunStream(*effect, {block}), Blocks{block});
        EXPECT_EQ(GetProcessed(*effect), 0);
    }
}

TEST(SoundWrapper, BuildsOnlyWhenItHasTo) {
    auto const effect = GetSoundCase("compressor").Make();
    auto const builds = [&](SampleInfo const& info) {
        SP<IDataAudio> data = MakeBlock(info);
        return CountGraphs([&] { effect->Process(data); });
    };
    EXPECT_EQ(builds(s_stereo), 1);
    EXPECT_EQ(builds(s_stereo), 0);
    for (SampleInfo const& other : {SampleInfo::Init(SampleFormats::S16, 44100, {3, 2}),
                                    SampleInfo::Init(SampleFormats::S16, 48000, {3, 2}),
                                    SampleInfo::Init(SampleFormats::S16, 48000, {0x30, 2}),
                                    SampleInfo::Init(SampleFormats::S16, 48000, {0, 2})}) {
        EXPECT_EQ(builds(other), 1);
        EXPECT_EQ(builds(other), 0);
    }
    Proc::SettingsAudioCompressor settings;
    effect->SetSettings(settings);
    effect->SetSettings(Core::Property("any")); // default settings again
    EXPECT_EQ(builds(SampleInfo::Init(SampleFormats::S16, 48000, {0, 2})), 0);
    settings.ratio = 3;
    effect->SetSettings(settings);
    EXPECT_EQ(builds(s_stereo), 1);
    effect->SetSettings(Core::Property("any"));
    EXPECT_EQ(builds(s_stereo), 1);
    effect->Reset();
    EXPECT_EQ(builds(s_stereo), 1);
    EXPECT_EQ(GetProcessed(*effect), 14);
}

TEST(SoundWrapper, AsksAGraphForAFormatOnce) {
    auto const make = [](double gain) {
        return MakeEffect("equalizer", "bands=100/" + std::to_string(gain));
    };
    auto const ask = [](IOneInputEffectAudio& effect, SampleInfo const& info, SampleFormats expected) {
        auto codec = MakeCodec(info);
        int const graphs = CountGraphs([&] { effect.UpdateFormatCodec(codec); });
        EXPECT_EQ(codec->GetSampleFormat(), expected);
        return graphs;
    };
    auto const effect = make(1.25);
    std::string const key = "equalizer flt equalizer=f=100:width_type=o:width=1:g=1.25";
    EXPECT_EQ(ask(*effect, s_stereo, SampleFormats::FloatPlanar), 1);
    EXPECT_EQ(Proc::GetAudioFormatCache().Find(key), SampleFormats::FloatPlanar);
    EXPECT_EQ(ask(*effect, s_stereo, SampleFormats::FloatPlanar), 0);
    EXPECT_EQ(ask(*make(1.25), s_stereo, SampleFormats::FloatPlanar), 0);

    // A stored "unknown" is no answer, anything else is believed.
    Proc::GetAudioFormatCache().Store(key, SampleFormats::Unknown);
    EXPECT_EQ(ask(*effect, s_stereo, SampleFormats::FloatPlanar), 1);
    Proc::GetAudioFormatCache().Store(key, SampleFormats::U8);
    EXPECT_EQ(ask(*effect, s_stereo, SampleFormats::U8), 0);

    // The graph of the very format is asked, no other.
    auto const used = make(1.5);
    SP<IDataAudio> data = MakeBlock();
    used->Process(data);
    EXPECT_EQ(ask(*used, SampleInfo::Init(SampleFormats::S16, 44100, {3, 2}), SampleFormats::S16Planar), 1);
    EXPECT_EQ(ask(*used, s_stereo, SampleFormats::FloatPlanar), 0);

    // With the graph come rate and layout, from the cache only the format.
    auto codec = MakeCodec(SampleInfo::Init(SampleFormats::S32, 44100, {0, 2}));
    for (std::uint64_t const mask : {3U, 0U}) {
        used->UpdateFormatCodec(codec);
        EXPECT_EQ(codec->GetSampleInfo().layout, (Conf::ChannelLayout{mask, 2}));
        codec = MakeCodec(SampleInfo::Init(SampleFormats::S32, 44100, {0, 2}));
    }
}

TEST(SoundWrapper, HasARowForEveryRegisteredEffect) {
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
        if (entry.GetKind() != Host::EffectKind::Audio || entry.classId == "resample")
            continue;
        EXPECT_TRUE(std::ranges::count(GetSoundCases(), entry.classId, &SoundCase::classId)) << entry.classId;
    }
}

TEST(SoundWrapper, StatisticsOutlastTheStream) {
    for (SoundCase const& row : GetSoundCases()) {
        auto const effect = row.Make();
        RunStream(*effect, {MakeBlock()});
        EXPECT_EQ(effect->GetStatistic()["Options"].GetString(), row.text);
    }
}

TEST(SoundWrapper, InfiniteGainsCountAsNone) {
    constexpr float endless = std::numeric_limits<float>::infinity();
    Proc::SettingsAudioEqualizer equalizer;
    equalizer.bands = {{1000, 5}};
    equalizer.factor = endless;
    Proc::SettingsAudioEcho echo;
    echo.echos = {{10, 0.5}};
    echo.delayScale = -endless;
    for (Proc::Settings const* const settings :
         {static_cast<Proc::Settings*>(&equalizer), static_cast<Proc::Settings*>(&echo)}) {
        auto const effect = MakeEffect(settings->GetClassId());
        effect->SetSettings(*settings);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        effect->Process(data);
        EXPECT_EQ(data, block);
    }
}

TEST(SoundWrapper, StatisticsBeforeTheFirstBlock) {
    EXPECT_EQ(GetSoundCase("equalizer").Make()->GetStatistic()["Options"].GetString(), "");
    auto const gate = GetSoundCase("noise-gate").Make();
    std::string const unknown = "compand=::-900/-900|-5/-900|-4.9/-4.9:6:-5:-90:.1";
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
    SP<IDataAudio> data = MakeBlock();
    gate->Process(data);
    EXPECT_NE(gate->GetStatistic()["Options"].GetString(), unknown);
    gate->Reset();
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
}

TEST(SoundWrapper, StaysUsableAfterAFailure) {
    FFmpegWatch const quiet;
    Proc::SettingsAudioEcho bad;
    bad.echos = {{-5, 0.5}};
    Proc::SettingsAudioEcho good;
    good.echos = {{10, 0.5}};
    auto const effect = MakeEffect("echo");
    effect->SetSettings(bad);
    SP<IDataAudio> const block = MakeBlock();
    SP<IDataAudio> data = block;
    auto codec = MakeCodec();
    Failure const failure = Catch([&] { effect->Process(data); });
    EXPECT_EQ(failure.text, "Cannot parse graph");
    EXPECT_EQ(failure.filter, "aecho=in_gain=1:out_gain=1:delays=-5.000000:decays=0.500000");
    EXPECT_EQ(data, block);
    EXPECT_EQ(Catch([&] { effect->UpdateFormatCodec(codec); }).text, "Cannot parse graph");
    EXPECT_EQ(Catch([&] { StreamOf(*effect).Feed(block); }).text, "Cannot parse graph");
    EXPECT_EQ(GetProcessed(*effect), 0);
    effect->SetSettings(good);
    // From another thread: the lock is free.
    std::thread([&] { effect->Process(data); }).join();
    EXPECT_NE(data, block);

    // What failed inside its graph gets another.
    SP<IDataAudio> const large = MakeSoundNoise(s_stereo, 20000);
    data = large;
    {
        AllocationLimit const limit(2000);
        EXPECT_NO_THROW(effect->Process(data));
    }
    EXPECT_EQ(data, nullptr);
    data = large;
    EXPECT_EQ(CountGraphs([&] { effect->Process(data); }), 1);
    EXPECT_NE(data, nullptr);
}

TEST(SoundWrapper, RunsOnOneThread) {
    // Each thread of a graph would show here.
    auto const effect = GetSoundCase("equalizer").Make();
    auto const count = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
    };
    auto const before = count();
    SP<IDataAudio> data = MakeBlock();
    effect->Process(data);
    EXPECT_EQ(count(), before);
}

} // namespace
} // namespace Tarsel::Test
