#include "Proc/Effects/Lumenta/Registrator.h"

#include "Host/EffectSettings.h"
#include "Host/ErrorReport.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/LibraryEffects.h"
#include "Support/RandomSettings.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Tarsel::Test {
namespace {

/// In the order of registration; those of audio and of two inputs are marked.
constexpr char const* s_all =
    "flip transpose display-matrix deshake stabilizer pixel-format denoise-chroma-luma denoise-dct "
    "denoise-wavelet edge-detect emboss balance-chroma blur color-channel-mixer negate noise border "
    "posterize remove-grain two-input:midequalizer deinterlace resize audio:resample resize-complex "
    "rotate color-balance smart-blur audio:equalizer audio:echo audio:chorus audio:reverb audio:gate "
    "audio:noise-gate audio:compressor audio:distortion audio:flanger audio:vibrato ";

/// Notes what is registered; answers with `answer` for the last one, else with its opposite.
struct Registrar : Proc::IEffectRegistrar {
    std::string all;
    std::size_t count = 0;
    bool answer = true;

    template <class Creator>
    bool Register(std::string const& classId, std::string const& implName, std::string const& kind,
                  Creator creator) {
        EXPECT_EQ(implName, Proc::ImplNames::FFMPEG);
        auto const effect = creator({}, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        // The resizer's second id is that of an interface; it has one class of settings.
        bool const isSecond = classId == Proc::IResizeComplex::EXTENDED_CLASS_ID;
        EXPECT_EQ(effect->GetSettingsBase().GetClassId(), isSecond ? "resize" : classId);
        all += kind + classId + ' ';
        return ++count == GetFactory()->GetRegistry().GetEntries().size() ? answer : !answer;
    }
    bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                             Proc::AudioEffectCreator creator) override {
        return Register(classId, implName, "audio:", creator);
    }
    bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                             Proc::VideoEffectCreator creator) override {
        return Register(classId, implName, "", creator);
    }
    bool RegisterTwoInputAudioEffect(std::string const&, std::string const&,
                                     Proc::TwoInputAudioEffectCreator) override {
        ADD_FAILURE();
        return false;
    }
    bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputVideoEffectCreator creator) override {
        return Register(classId, implName, "two-input:", creator);
    }
};

TEST(Registrator, RegistersAllInOrderEachTime) {
    for (bool answer : {true, false}) {
        Registrar registrar;
        registrar.answer = answer;
        EXPECT_EQ(Registrator(registrar), answer);
        EXPECT_EQ(registrar.all, s_all);
    }
}

TEST(SetEffectSettings, TakesTreesForEveryRegistration) {
    auto const& entries = GetFactory()->GetRegistry().GetEntries();
    for (Host::EffectEntry const& entry : entries) {
        SCOPED_TRACE(entry.classId);
        SP<Proc::IEffect> const effect = CreateEffect(entry);
        SettingsClass const& settingsClass = FindSettingsClass(effect->GetSettingsBase().GetClassId());
        RandomSettings random(7);
        for (int i = 0; i < 5; ++i) {
            auto const settings = random.Draw(settingsClass);
            Host::SetEffectSettings(*effect, Proc::Settings2Property(*settings));
            EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*settings)) << Proc::Serialize(*settings);
        }
        // One field alone: the others stay.
        auto const initial = settingsClass.Create();
        Host::SetEffectSettings(*effect, Proc::Settings2Property(*initial));
        auto expected = effect->GetSettingsBase().Clone();
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
            for (std::string const& id : {std::string(settingsClass.classId), other->GetClassId()})
                EXPECT_NE(Host::DescribeError(failure).find("(\"" + id + "\")"), std::string::npos);
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
        bool goOn = true;
        std::vector<std::pair<double, std::string>> reports;
        bool SetProgress(double done, std::string const& stage) override {
            reports.emplace_back(done, stage);
            return goOn;
        }
    };
    auto const controller = MakeSP<Controller>();
    Core::ProgressControllerStages stages;
    stages.SetProgressController(controller);
    stages.Init({2, 2});
    EXPECT_TRUE(MediatorInitStage(stages, 1, "second"));
    EXPECT_EQ(MediatorInc(stages), 0);
    controller->goOn = false;
    EXPECT_EQ(MediatorInc(stages), 1);
    EXPECT_FALSE(MediatorInitStage(stages, 0, "first"));
    using Reports = decltype(controller->reports);
    EXPECT_EQ(controller->reports,
              (Reports{{0.5, "second"}, {0.75, "second"}, {1.0, "second"}, {0.0, "first"}}));
}

} // namespace
} // namespace Tarsel::Test
