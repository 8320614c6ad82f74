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

namespace Tarsel::Test {
namespace {

/// Tries what is registered; answers with `answer` for the last one, else with its opposite.
struct Registrar : Proc::IEffectRegistrar {
    std::size_t count = 0;
    bool answer = true;

    template <class Creator>
    bool Register(std::string const& classId, std::string const& implName, Creator creator) {
        EXPECT_EQ(implName, Proc::ImplNames::FFMPEG);
        auto const effect = creator({}, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        // The resizer's second id is that of an interface; it has one class of settings.
        bool const isSecond = classId == Proc::IResizeComplex::EXTENDED_CLASS_ID;
        EXPECT_EQ(effect->GetSettingsBase().GetClassId(), isSecond ? "resize" : classId);
        return ++count == GetFactory()->GetRegistry().GetEntries().size() ? answer : !answer;
    }
    bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                             Proc::AudioEffectCreator creator) override {
        return Register(classId, implName, creator);
    }
    bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                             Proc::VideoEffectCreator creator) override {
        return Register(classId, implName, creator);
    }
    bool RegisterTwoInputAudioEffect(std::string const&, std::string const&,
                                     Proc::TwoInputAudioEffectCreator) override {
        ADD_FAILURE();
        return false;
    }
    bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputVideoEffectCreator creator) override {
        return Register(classId, implName, creator);
    }
};

TEST(Registrator, RegistersAllEachTime) {
    for (bool answer : {true, false}) {
        Registrar registrar;
        registrar.answer = answer;
        EXPECT_EQ(Registrator(registrar), answer);
        EXPECT_EQ(registrar.count, GetFactory()->GetRegistry().GetEntries().size());
    }
}

TEST(SetEffectSettings, TakesTreesForEveryRegistration) {
    auto const& entries = GetFactory()->GetRegistry().GetEntries();
    for (Host::EffectEntry const& entry : entries) {
        SCOPED_TRACE(entry.classId);
        SP<Proc::IEffect> const effect = CreateEffect(entry);
        SettingsClass const& settingsClass = FindSettingsClass(effect->GetSettingsBase().GetClassId());
        Check::RandomSettings random(7);
        auto expected = random.Draw(*settingsClass.initial);
        Host::SetEffectSettings(*effect, Proc::Settings2Property(*expected));
        EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*expected)) << Proc::Serialize(*expected);
        // One field alone: the others stay.
        auto const initial = settingsClass.Create();
        Host::SetEffectSettings(*effect, Proc::Settings2Property(*initial));
        Proc::Field const& field = settingsClass.fields.back();
        do {
            expected = initial->Clone();
            Proc::WriteField(*expected, field, random.Draw(field));
        } while (expected->IsEqualTo(*initial) ||
                 (settingsClass.findConflict != nullptr && !settingsClass.findConflict(*expected).empty()));
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
