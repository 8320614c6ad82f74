#include "Conf/FormatCodecAudio.h"
#include "Proc/Effects/Lumenta/Audio/Delay.h"
#include "Proc/Effects/Lumenta/Audio/Dynamics.h"
#include "Proc/Effects/Lumenta/Audio/Equalizer.h"
#include "Proc/Effects/Lumenta/Audio/Modulation.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Format.h"
#include "Proc/Settings/SettingsProperty.h"
#include "SoundCases.h"
#include "Support/Sound.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <thread>

extern "C" {
#include <libavutil/mem.h>
}

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

std::string Explain(IOneInputEffectAudio const& effect, SampleInfo const& info = s_stereo) {
    return dynamic_cast<Proc::IEffectDetailsAudio const&>(effect).Describe(Conf::FormatCodecAudio(info));
}

class SoundWrapper : public testing::TestWithParam<SoundCase> {};

TEST_P(SoundWrapper, TellsItsFilterEverywhere) {
    SoundCase const& row = GetParam();
    auto const effect = row.Make();
    EXPECT_EQ(Explain(*effect), row.text);
    EXPECT_FALSE(dynamic_cast<Proc::IEffectDetails const&>(*effect).GetTraits().summary.empty());
    EXPECT_EQ(effect->GetInputFrameType(), 2);
    EXPECT_EQ(GetProcessed(*effect), 0);
    for (std::int64_t processed : {1, 2}) {
        SP<Proc::IData> data = MakeBlock();
        effect->ProcessData(data);
        Core::Property const statistic = effect->GetStatistic();
        EXPECT_EQ(statistic["Options"].GetString(), row.text);
        EXPECT_EQ(statistic["Name"].GetString(),
                  "virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<Tarsel::Proc::" + row.name +
                      ">>::GetStatistic() const [EffectActionsAudio = EffectActionsAudio<Tarsel::Proc::" +
                      row.name + ">]");
        EXPECT_EQ(statistic["Category"].GetInt64(), 7);
        EXPECT_EQ(statistic["MediaType"].GetInt64(), 2);
        EXPECT_EQ(statistic["ImplName"].GetString(), Proc::ImplNames::FFMPEG);
        EXPECT_EQ(statistic["Processed"].GetInt64(), processed);
    }
}

TEST_P(SoundWrapper, TakesPropertiesButGivesNone) {
    SoundCase const& row = GetParam();
    auto const effect = row.Make();
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*row.settings));
    Failure const failure = Catch<std::logic_error>([&] { effect->GetSettings(); });
    EXPECT_EQ(failure.text, "Property settings is not supported");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalAudio");
    EXPECT_EQ(failure.function,
              "virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<Tarsel::Proc::" + row.name +
                  ">>::GetSettings() const [EffectActionsAudio = EffectActionsAudio<Tarsel::Proc::" +
                  row.name + ">]");
    EXPECT_TRUE(failure.hasStack);

    auto const initial = row.create({}, {})->GetSettingsBase().Clone();
    effect->SetSettings(Proc::Settings2Property(*row.settings));
    bool const reads = row.name == "SettingsAudioNoiseGate";
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(reads ? *row.settings : *initial));
    EXPECT_THROW(effect->SetSettings(Proc::SettingsResizer()), std::bad_cast);
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
struct ActiveCase {
    char const* name;
    SP<IOneInputEffectAudio> effect;
    bool isActive;
};

template <class S, class Change>
ActiveCase Active(char const* name, Change const& change, bool isActive) {
    S settings;
    change(settings);
    auto const effect = Proc::CreateEffectAudioFF<S>({}, {});
    effect->SetSettings(settings);
    return {name, effect, isActive};
}

std::vector<ActiveCase> GetActiveCases() {
    using Chorus = Proc::SettingsAudioChorus;
    using Distortion = Proc::SettingsAudioDistortion;
    using Echo = Proc::SettingsAudioEcho;
    using Equalizer = Proc::SettingsAudioEqualizer;
    using NoiseGate = Proc::SettingsAudioNoiseGate;
    constexpr float least = std::numeric_limits<float>::min();
    auto const equalizer = [](std::vector<Equalizer::BandEq> const& bands, float factor) {
        return [=](Equalizer& settings) {
            settings.bands = bands;
            settings.factor = factor;
        };
    };
    auto const echo = [](std::vector<Echo::Echo> const& echos, float scale) {
        return [=](Echo& settings) {
            settings.echos = echos;
            settings.delayScale = scale;
        };
    };
    auto const chorus = [](std::vector<Chorus::Voice> const& voices, float scale) {
        return [=](Chorus& settings) {
            settings.voices = voices;
            settings.decayScale = scale;
        };
    };
    auto const gate = [](double threshold, float reduction) {
        return [=](NoiseGate& settings) {
            settings.threshold = threshold;
            settings.reduction = reduction;
        };
    };
    return {
        Active<Equalizer>("no bands", equalizer({}, 1), false),
        Active<Equalizer>("factor 0", equalizer({{100, 3}}, 0), false),
        Active<Equalizer>("factor next to 0", equalizer({{100, 3}}, std::nextafter(least, 0.0F)), false),
        Active<Equalizer>("small factor", equalizer({{100, 3}}, -least), true),
        Active<Equalizer>("all bands too high", equalizer({{22050, 3}, {30000, 3}}, 1), false),
        Active<Echo>("no echoes", echo({}, 1), false),
        Active<Echo>("echoes scaled to nothing", echo({{100, 0.5}}, -0.0F), false),
        Active<Echo>("an echo", echo({{100, 0.5}}, 1), true),
        Active<Chorus>("no voices", chorus({}, 1), false),
        Active<Chorus>("voices scaled to nothing", chorus({{40, 0.5, 1, 1}}, 0), false),
        Active<Chorus>("a voice", chorus({{40, 0.5, 1, 1}}, least), true),
        Active<NoiseGate>("a high threshold", gate(-4, 0.5F), false),
        Active<NoiseGate>("just too high", gate(std::nextafter(-5.0, 0), 0.5F), false),
        Active<NoiseGate>("a threshold", gate(-5, 0.5F), true),
        Active<NoiseGate>("no reduction", gate(-40, 0), false),
        Active<Distortion>(
            "a mode there is not",
            [](Distortion& settings) { settings.mode = static_cast<Distortion::Mode>(5); }, false),
        Active<Distortion>(
            "distortion", [](Distortion& settings) { settings.amount = 0; }, true),
        Active<Proc::SettingsAudioCompressor>(
            "compressor", [](auto& settings) { settings.mix = 0; }, true),
        Active<Proc::SettingsAudioGate>(
            "gate", [](auto& settings) { settings.range = 0; }, true),
        Active<Proc::SettingsAudioReverb>(
            "reverb", [](auto& settings) { settings.amount = 0; }, true),
        Active<Proc::SettingsAudioFlanger>(
            "flanger", [](auto& settings) { settings.width = 0; }, true),
        Active<Proc::SettingsAudioVibrato>(
            "vibrato", [](auto& settings) { settings.depth = 0; }, true),
    };
}

TEST(SoundWrapper, PassesUntouchedWhatItWouldNotChange) {
    for (ActiveCase const& row : GetActiveCases()) {
        SCOPED_TRACE(row.name);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        row.effect->Process(data);
        EXPECT_EQ(data != block, row.isActive);
        EXPECT_EQ(GetProcessed(*row.effect), row.isActive ? 1 : 0);
        EXPECT_EQ(Explain(*row.effect).empty(), !row.isActive);
        if (row.isActive)
            continue;
        auto codec = MakeCodec();
        EXPECT_EQ(CountGraphs([&] { row.effect->UpdateFormatCodec(codec); }), 0);
        EXPECT_EQ(codec->GetSampleInfo(), s_stereo);
        EXPECT_EQ(RunStream(*row.effect, {block}), Blocks{block});
        EXPECT_EQ(GetProcessed(*row.effect), 0);
    }
}

TEST(SoundWrapper, BuildsOnlyWhenItHasTo) {
    auto const effect = GetSoundCase("Compressor").Make();
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

TEST(SoundWrapper, NullsPass) {
    auto const effect = GetSoundCase("Equalizer").Make();
    SP<IDataAudio> data;
    for (int i = 0; i < 2; ++i) {
        effect->Process(data);
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(GetProcessed(*effect), i);
        SP<IDataAudio> block = MakeBlock();
        effect->Process(block);
    }
}

TEST(SoundWrapper, AsksAGraphForAFormatOnce) {
    auto const make = [](double gain) {
        auto const effect = GetSoundCase("Equalizer").create({}, {});
        Proc::SettingsAudioEqualizer settings;
        settings.bands = {{100, gain}};
        effect->SetSettings(settings);
        return effect;
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

TEST(SoundWrapper, StatisticsBeforeTheFirstBlock) {
    EXPECT_EQ(GetSoundCase("Equalizer").Make()->GetStatistic()["Options"].GetString(), "");
    auto const gate = GetSoundCase("NoiseGate").Make();
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
    auto const effect = GetSoundCase("Echo").create({}, {});
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
    av_max_alloc(2000);
    EXPECT_NO_THROW(effect->Process(data));
    av_max_alloc(INT_MAX);
    EXPECT_EQ(data, nullptr);
    data = large;
    EXPECT_EQ(CountGraphs([&] { effect->Process(data); }), 1);
    EXPECT_NE(data, nullptr);
}

TEST(SoundWrapper, EqualizerClipsRealSamples) {
    for (std::uint32_t format = 0; format < 10; ++format) {
        auto const info = SampleInfo::Init(static_cast<SampleFormats>(format), 44100, {3, 2});
        auto const effect = GetSoundCase("Equalizer").Make();
        SP<IDataAudio> data = MakeSoundNoise(info, 4000);
        data->SetTime(5);
        data->SetDuration(6);
        effect->Process(data);
        EXPECT_EQ(data->GetTime(), 5);
        EXPECT_EQ(data->GetDuration(), 6);
        int full = 0;
        for (int channel = 0; channel < 2; ++channel)
            for (int i = 0; i < 4000; ++i) {
                double const sample = GetSample(*data->GetAVFrame(), channel, i);
                EXPECT_LE(std::abs(sample), 1);
                full += std::abs(sample) == 1;
            }
        EXPECT_GT(full, 0) << format;
    }
}

TEST(SoundWrapper, RunsOnOneThread) {
    // Each thread of a graph would show here.
    auto const effect = GetSoundCase("Equalizer").Make();
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
