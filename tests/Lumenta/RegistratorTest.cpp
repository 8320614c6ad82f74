#include "Proc/Effects/Lumenta/Registrator.h"

#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Test {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

/// Notes what is registered; answers with `answer` for the last row, else with its opposite.
struct Registrar : Proc::IEffectRegistrar {
    Rows rows;
    bool answer = true;
    std::size_t last = 0;

    template <class Creator>
    bool Register(std::string const& classId, std::string const& implName, char const* kind,
                  Creator creator) {
        EXPECT_EQ(implName, Proc::ImplNames::FFMPEG);
        auto const effect = creator({}, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        // The resizer's second id is that of an interface; it has one class of settings.
        bool const isSecond = classId == Proc::IResizeComplex::EXTENDED_CLASS_ID;
        EXPECT_EQ(effect->GetSettingsBase().GetClassId(), isSecond ? "resize" : classId);
        rows.emplace_back(kind, classId);
        return rows.size() == last ? answer : !answer;
    }
    bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                             Proc::AudioEffectCreator creator) override {
        return Register(classId, implName, "audio", creator);
    }
    bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                             Proc::VideoEffectCreator creator) override {
        return Register(classId, implName, "video", creator);
    }
    bool RegisterTwoInputAudioEffect(std::string const&, std::string const&,
                                     Proc::TwoInputAudioEffectCreator) override {
        ADD_FAILURE();
        return false;
    }
    bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputVideoEffectCreator creator) override {
        return Register(classId, implName, "two-input", creator);
    }
};

Rows const s_rows{{"video", "flip"},
                  {"video", "transpose"},
                  {"video", "display-matrix"},
                  {"video", "deshake"},
                  {"video", "stabilizer"},
                  {"video", "pixel-format"},
                  {"video", "denoise-chroma-luma"},
                  {"video", "denoise-dct"},
                  {"video", "denoise-wavelet"},
                  {"video", "edge-detect"},
                  {"video", "emboss"},
                  {"video", "balance-chroma"},
                  {"video", "blur"},
                  {"video", "color-channel-mixer"},
                  {"video", "negate"},
                  {"video", "noise"},
                  {"video", "border"},
                  {"video", "posterize"},
                  {"video", "remove-grain"},
                  {"two-input", "midequalizer"},
                  {"video", "deinterlace"},
                  {"video", "resize"},
                  {"audio", "resample"},
                  {"video", "resize-complex"},
                  {"video", "rotate"},
                  {"video", "color-balance"},
                  {"video", "smart-blur"},
                  {"audio", "equalizer"},
                  {"audio", "echo"},
                  {"audio", "chorus"},
                  {"audio", "reverb"},
                  {"audio", "gate"},
                  {"audio", "noise-gate"},
                  {"audio", "compressor"},
                  {"audio", "distortion"},
                  {"audio", "flanger"},
                  {"audio", "vibrato"}};

TEST(Registrator, RegistersAllInOrderEachTime) {
    for (bool answer : {true, false}) {
        Registrar registrar;
        registrar.answer = answer;
        registrar.last = s_rows.size();
        EXPECT_EQ(Registrator(registrar), answer);
        EXPECT_EQ(registrar.rows, s_rows);
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
