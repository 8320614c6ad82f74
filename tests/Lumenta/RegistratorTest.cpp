#include "Proc/Effects/Lumenta/Registrator.h"

#include "Check/RandomSettings.h"
#include "Host/EffectSettings.h"
#include "Host/ErrorReport.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <variant>

namespace Tarsel::Test {
namespace {

/// A registry answers whether a registration is new; for the last one the answer counts.
TEST(Registrator, AnswersForTheLastOne) {
    Host::EffectEntry const& first = GetFactory()->GetRegistry().GetEntries().front();
    Host::EffectEntry const& last = GetFactory()->GetRegistry().GetEntries().back();
    Host::EffectRegistry registry;
    registry.RegisterVideoEffect(first.classId, first.implName,
                                 std::get<Proc::VideoEffectCreator>(first.creator));
    EXPECT_TRUE(Registrator(registry));
    Host::EffectRegistry other;
    other.RegisterAudioEffect(last.classId, last.implName, std::get<Proc::AudioEffectCreator>(last.creator));
    EXPECT_FALSE(Registrator(other));
}

TEST(SetEffectSettings, TakesTreesForEveryRegistration) {
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
        SCOPED_TRACE(entry.classId);
        EXPECT_EQ(entry.implName, Proc::ImplNames::FFMPEG);
        SP<Proc::IEffect> const effect = CreateEffect(entry);
        SettingsClass const& settingsClass = FindSettingsClass(effect->GetSettingsBase().GetClassId());
        // The resizer's second id is that of an interface; it has one class of settings.
        EXPECT_EQ(settingsClass.classId,
                  entry.classId == Proc::IResizeComplex::EXTENDED_CLASS_ID ? "resize" : entry.classId);
        Check::RandomSettings random(7);
        auto expected = random.Draw(*settingsClass.initial);
        Host::SetEffectSettings(*effect, Proc::Settings2Property(*expected));
        EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*expected)) << Proc::Serialize(*expected);
        // One field alone: the others stay.
        Proc::Field const& field = settingsClass.fields.back();
        do
            Proc::WriteField(*expected, field, random.Draw(field));
        while (settingsClass.findConflict != nullptr && !settingsClass.findConflict(*expected).empty());
        Core::Property one("one");
        one.AddChild(*Proc::Settings2Property(*expected).FindChild(field.key));
        Host::SetEffectSettings(*effect, one);
        EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*expected));
        // Another class is named.
        auto const other = MakeSettings(settingsClass.classId == "flip" ? "transpose" : "flip", "");
        try {
            Host::SetEffectSettings(*effect, *other);
            ADD_FAILURE() << "nothing thrown";
        } catch (std::bad_cast const& failure) {
            EXPECT_NE(Host::DescribeError(failure).find("(\"" + other->GetClassId() + "\")"),
                      std::string::npos);
        }
        // What cannot be read changes nothing.
        Core::Property bad = Proc::Settings2Property(*settingsClass.Create());
        bad.RemoveChild(field.key);
        bad.AddChild(Core::Property(std::string(field.key)));
        EXPECT_THROW(Host::SetEffectSettings(*effect, bad), Proc::SettingsException);
        EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*expected));
    }
}

TEST(Mediator, ForwardsStagesAndTurnsTheAnswerRound) {
    struct Controller : Core::RefCounted<Core::IProgressController> {
        std::string stages;
        bool SetProgress(double done, std::string const& stage) override {
            stages += stage;
            return done < 1;
        }
    };
    auto const controller = MakeSP<Controller>();
    Core::ProgressControllerStages stages;
    stages.SetProgressController(controller);
    stages.Init({2, 2});
    EXPECT_TRUE(MediatorInitStage(stages, 1, "second"));
    EXPECT_EQ(MediatorInc(stages), 0);
    EXPECT_EQ(MediatorInc(stages), 1);
    EXPECT_EQ(controller->stages, "secondsecondsecond");
}

} // namespace
} // namespace Tarsel::Test
