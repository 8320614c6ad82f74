#include "AudioCases.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Support/LibraryEffects.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarsel::Test {
namespace {

using Proc::IDataAudio;

SP<IDataAudio> MakeBlock() {
    return MakeAudioNoise(s_stereo, 1024);
}

std::int64_t GetProcessed(Proc::IEffect const& effect) {
    return effect.GetStatistic()["Processed"].GetInt64();
}

class AudioWrapper : public testing::TestWithParam<AudioCase> {};

TEST_P(AudioWrapper, TellsItsFilterTakesPropertiesAndGivesNone) {
    AudioCase const& row = GetParam();
    auto const effect = row.Make();
    EXPECT_EQ(Explain(*effect), row.text);
    SP<Proc::IData> data = MakeBlock();
    effect->ProcessData(data);
    RunStream(*effect, {MakeBlock()}); // which the statistics outlast
    Core::Property const statistic = effect->GetStatistic();
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    std::string const of = "EffectActionsAudio<Tarsel::Proc::" + row.name + ">";
    std::string const start = "virtual Core::Property EffectFafloplalAudio<" + of + ">::";
    std::string const end = "() const [EffectActionsAudio = " + of + "]";
    EXPECT_EQ(statistic["Name"].GetString(), start + "GetStatistic" + end);

    Failure const failure = Catch<std::logic_error>([&] { effect->GetSettings(); });
    EXPECT_EQ(failure.text, "Property settings is not supported");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalAudio");
    EXPECT_EQ(failure.function, start + "GetSettings" + end);
    EXPECT_TRUE(failure.hasStack);
    auto const settings = MakeSettings(row.classId, row.options);
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*settings));
    effect->SetSettings(Proc::Settings2Property(*settings));
    bool const reads = row.classId == "noise-gate";
    EXPECT_TRUE(
        effect->GetSettingsBase().IsEqualTo(reads ? *settings : MakeEffect(row.classId)->GetSettingsBase()));
}

INSTANTIATE_TEST_SUITE_P(AudioEffects, AudioWrapper, testing::ValuesIn(GetAudioCases()),
                         [](auto const& test) { return test.param.name; });

/// Settings that leave audio as it is, or just not.
TEST(AudioWrapper, PassesUntouchedWhatItWouldNotChange) {
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
    }
}

TEST(AudioWrapper, InfiniteGainsCountAsNone) {
    for (auto const& [classId, options, key] :
         {std::tuple{"equalizer", "bands=1000/5", "factor"}, {"echo", "echos=10/0.5", "scale"}}) {
        auto const settings = MakeSettings(classId, options);
        Proc::FindField(settings->GetFields(), key)->set(*settings, std::numeric_limits<double>::infinity());
        auto const effect = MakeEffect(classId);
        effect->SetSettings(*settings);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        effect->Process(data);
        EXPECT_EQ(data, block);
    }
}

TEST(AudioWrapper, StatisticsBeforeTheFirstBlock) {
    EXPECT_EQ(GetAudioCase("equalizer").Make()->GetStatistic()["Options"].GetString(), "");
    auto const gate = GetAudioCase("noise-gate").Make();
    std::string const unknown = "compand=::-900/-900|-5/-900|-4.9/-4.9:6:-5:-90:.1";
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
    SP<IDataAudio> data = MakeBlock();
    gate->Process(data);
    EXPECT_NE(gate->GetStatistic()["Options"].GetString(), unknown);
    gate->Reset();
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
}

} // namespace
} // namespace Tarsel::Test
