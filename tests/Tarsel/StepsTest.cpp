#include "Tools/Tarsel/Steps.h"

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

TEST(Steps, UnreadableOnesAreNamed) {
    auto const failure = Tarsel::Test::Catch<Proc::SettingsException>([] {
        SortSteps(LoadEffects(TARSEL_PLUGIN), {"flip", "flip 'horizontal=1"});
    });
    EXPECT_EQ(failure.text, "A quote (') is opened and not closed: flip 'horizontal=1");
    EXPECT_EQ(failure.step, "-e \"flip 'horizontal=1\"");
}

} // namespace
} // namespace Tarsel::Tools
