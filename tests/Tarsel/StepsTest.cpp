#include "Tools/Tarsel/Steps.h"

#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Host/StepPlan.h"
#include "Proc/Settings/Settings.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

namespace Tarsel::Tools {
namespace {

auto IsStep(char const* text, char const* label) {
    return testing::AllOf(testing::Field(&StepText::text, text), testing::Field(&StepText::label, label));
}

TEST(Steps, PictureAndSoundKeepTheirOrderAndNumbers) {
    Effects const effects = LoadEffects(TARSEL_PLUGIN);
    SortedSteps const steps = SortSteps(
        effects, {"resample rate=48000", "flip horizontal=1", "transpoze", "flip", "resample format=s16"});
    EXPECT_THAT(steps.picture, testing::ElementsAre(IsStep("flip horizontal=1", "step 2 (flip)"),
                                                    IsStep("transpoze", "step 3 (transpoze)"),
                                                    IsStep("flip", "step 4 (flip)")));
    EXPECT_THAT(steps.sound, testing::ElementsAre(IsStep("resample rate=48000", "step 1 (resample)"),
                                                  IsStep("resample format=s16", "step 5 (resample)")));
}

// Whatever a plug-in registers: effects that do nothing as they start are never left without a cure.
TEST(Steps, IdleEffectsNameWhatMakesThemWork) {
    Effects const effects = LoadEffects(TARSEL_PLUGIN);
    Conf::FormatCodecVideo const pictures(Conf::PixFmt::YUV420P, {64, 48, 1, 1});
    Conf::FormatCodecAudio const audio(
        Conf::SampleInfo::Init(Conf::SampleFormats::FloatPlanar, 48000, Conf::ChannelLayout::FromCount(2)));
    int idleCount = 0;
    auto const check = [&](auto const& effect, auto const& format) {
        auto const before = effect->GetSettingsBase().Clone();
        std::string const idle = Host::PlanStep(effect, format).idle;
        EXPECT_TRUE(before->IsEqualTo(effect->GetSettingsBase())) << before->GetClassId();
        EXPECT_EQ(idle.empty(), !before->IsEmpty()) << before->GetClassId();
        if (idle.empty())
            return;
        ++idleCount;
        EXPECT_THAT(idle, testing::StartsWith("does nothing; set ")) << before->GetClassId();
    };
    for (Host::EffectEntry const& entry : effects.registry->GetEntries()) {
        if (entry.GetKind() == Host::EffectKind::Video)
            check(effects.factory->CreateVideoEffect(entry.classId, entry.implName, {}), pictures);
        if (entry.GetKind() == Host::EffectKind::Audio)
            check(effects.factory->CreateAudioEffect(entry.classId, entry.implName, {}), audio);
    }
    EXPECT_GT(idleCount, 10);
}

TEST(Steps, UnreadableOnesAreNamed) {
    auto const failure = Tarsel::Test::Catch<Proc::SettingsException>([] {
        SortSteps(LoadEffects(TARSEL_PLUGIN), {"flip", "flip 'horizontal=1"});
    });
    EXPECT_EQ(failure.text, "A quote (') is opened and not closed: flip 'horizontal=1");
    EXPECT_EQ(failure.step, "-e \"flip 'horizontal=1\"");
}

} // namespace
} // namespace Tarsel::Tools
