#include "Proc/Effects/Lumenta/Registrator.h"

#include "Proc/Effects/Lumenta/Video/Blur.h"
#include "Proc/Effects/Lumenta/Video/Colour.h"
#include "Proc/Effects/Lumenta/Video/Denoise.h"
#include "Proc/Effects/Lumenta/Video/Orientation.h"
#include "Proc/Effects/Lumenta/Video/Stabilise.h"
#include "Proc/Effects/Lumenta/Video/Stylise.h"
#include "Proc/Interfaces/ImplNames.h"

#include <array>
#include <string>
#include <variant>

namespace Tarsel::Proc {
namespace {

struct Registration {
    std::string const* classId;
    /// Its kind is the operation of the registrar.
    std::variant<VideoEffectCreator, AudioEffectCreator, TwoInputVideoEffectCreator> creator;
};

/// Every effect of this library, in the order of registration.
constexpr std::array s_registrations{
    Registration{&SettingsEffectFlip::CLASS_ID, CreateEffectFlip},
    Registration{&SettingsEffectTranspose::CLASS_ID, CreateEffectTranspose},
    Registration{&SettingsEffectDisplayMatrix::CLASS_ID, CreateEffectDisplayMatrix},
    Registration{&SettingsEffectDeshake::CLASS_ID, CreateEffectDeshake},
    Registration{&SettingsEffectStabilizer::CLASS_ID, CreateEffectStabilizer},
    Registration{&SettingsEffectDenoiseChromaLuma::CLASS_ID, CreateEffectDenoiseChromaLuma},
    Registration{&SettingsEffectDenoiseDCT::CLASS_ID, CreateEffectDenoiseDCT},
    Registration{&SettingsEffectDenoiseOvercompleteWavelet::CLASS_ID, CreateEffectDenoiseOvercompleteWavelet},
    Registration{&SettingsEffectEdgeDetect::CLASS_ID, CreateEffectEdgeDetect},
    Registration{&SettingsEffectEmboss::CLASS_ID, CreateEffectEmboss},
    Registration{&SettingsEffectBalanceChroma::CLASS_ID, CreateEffectBalanceChroma},
    Registration{&SettingsEffectBlur::CLASS_ID, CreateEffectBlur},
    Registration{&SettingsEffectColorChannelMixer::CLASS_ID, CreateEffectColorChannelMixer},
    Registration{&SettingsEffectNegateVideo::CLASS_ID, CreateEffectNegateVideo},
    Registration{&SettingsEffectNoiseVideo::CLASS_ID, CreateEffectNoiseVideo},
    Registration{&SettingsEffectBorder::CLASS_ID, CreateEffectBorder},
    Registration{&SettingsEffectPosterize::CLASS_ID, CreateEffectPosterize},
    Registration{&SettingsEffectRemoveGrain::CLASS_ID, CreateEffectRemoveGrain},
    Registration{&SettingsDeinterlace::CLASS_ID, CreateEffectDeinterlace},
};

/// One registration with a registrar.
struct Register {
    IEffectRegistrar& registrar;
    std::string const& classId;

    bool operator()(VideoEffectCreator creator) const {
        return registrar.RegisterVideoEffect(classId, ImplNames::FFMPEG, creator);
    }
    bool operator()(AudioEffectCreator creator) const {
        return registrar.RegisterAudioEffect(classId, ImplNames::FFMPEG, creator);
    }
    bool operator()(TwoInputVideoEffectCreator creator) const {
        return registrar.RegisterTwoInputVideoEffect(classId, ImplNames::FFMPEG, creator);
    }
};

} // namespace
} // namespace Tarsel::Proc

bool Registrator(Tarsel::Proc::IEffectRegistrar& registrar) {
    bool isNew = false;
    for (Tarsel::Proc::Registration const& row : Tarsel::Proc::s_registrations)
        isNew = std::visit(Tarsel::Proc::Register{registrar, *row.classId}, row.creator);
    return isNew;
}

bool MediatorInitStage(Tarsel::Core::ProgressControllerStages& stages, int stage, char const* name) {
    return stages.InitStage(stage, name);
}

int MediatorInc(Tarsel::Core::ProgressControllerStages& stages) {
    return stages.IncProgress() ? 0 : 1;
}
