#include "Proc/Effects/Lumenta/Registrator.h"

#include "Proc/Effects/Lumenta/AudioGeneratorFF.h"
#include "Proc/Effects/Lumenta/Base/CreateEffect.h"
#include "Proc/Interfaces/IResample.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Color.h"
#include "Proc/Settings/Delay.h"
#include "Proc/Settings/Denoise.h"
#include "Proc/Settings/Dynamics.h"
#include "Proc/Settings/Equalizer.h"
#include "Proc/Settings/Format.h"
#include "Proc/Settings/MidEqualizer.h"
#include "Proc/Settings/Modulation.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/Rotate.h"
#include "Proc/Settings/SmartBlur.h"
#include "Proc/Settings/Stabilize.h"
#include "Proc/Settings/Stylize.h"

#include <string>
#include <variant>
#include <vector>

namespace Tarsel::Proc {
namespace {

struct Registration {
    std::string const& classId;
    EffectCreator creator;
};

/// The effect over settings class S, by that class's id or another.
template <class S>
Registration Row(std::string const& classId = S::CLASS_ID) {
    return {classId, GetCreator<S>()};
}

/// Every effect of this library, in the order of registration.
std::vector<Registration> MakeRegistrations() {
    return {
        Row<SettingsEffectFlip>(),
        Row<SettingsEffectTranspose>(),
        Row<SettingsEffectDisplayMatrix>(),
        Row<SettingsEffectDeshake>(),
        Row<SettingsEffectStabilizer>(),
        Row<SettingsPixelFormatConverter>(),
        Row<SettingsEffectDenoiseChromaLuma>(),
        Row<SettingsEffectDenoiseDCT>(),
        Row<SettingsEffectDenoiseOvercompleteWavelet>(),
        Row<SettingsEffectEdgeDetect>(),
        Row<SettingsEffectEmboss>(),
        Row<SettingsEffectBalanceChroma>(),
        Row<SettingsEffectBlur>(),
        Row<SettingsEffectColorChannelMixer>(),
        Row<SettingsEffectNegateVideo>(),
        Row<SettingsEffectNoiseVideo>(),
        Row<SettingsEffectBorder>(),
        Row<SettingsEffectPosterize>(),
        Row<SettingsEffectRemoveGrain>(),
        Row<SettingsEffectMidEqualizer>(),
        Row<SettingsDeinterlace>(),
        Row<SettingsResizer>(),
        Row<SettingsResample>(IResample::CLASS_ID),
        Row<SettingsResizer>(IResizeComplex::EXTENDED_CLASS_ID),
        Row<SettingsEffectRotate>(),
        Row<SettingsEffectColorBalance>(),
        Row<SettingsEffectSmartBlur>(),
        Row<SettingsAudioEqualizer>(),
        Row<SettingsAudioEcho>(),
        Row<SettingsAudioChorus>(),
        Row<SettingsAudioReverb>(),
        Row<SettingsAudioGate>(),
        Row<SettingsAudioNoiseGate>(),
        Row<SettingsAudioCompressor>(),
        Row<SettingsAudioDistortion>(),
        Row<SettingsAudioFlanger>(),
        Row<SettingsAudioVibrato>(),
    };
}

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
    for (Tarsel::Proc::Registration const& row : Tarsel::Proc::MakeRegistrations())
        isNew = std::visit(Tarsel::Proc::Register{registrar, row.classId}, row.creator);
    return isNew;
}

void CreateAudioGenerator(Tarsel::SP<Tarsel::Proc::IAudioGenerator>& generator,
                          std::string const& description, Tarsel::Conf::SampleInfo const& info) {
    generator = Tarsel::MakeSP<Tarsel::Proc::AudioGeneratorFF>(description, info);
}

bool MediatorInitStage(Tarsel::Core::ProgressControllerStages& stages, int stage, char const* name) {
    return stages.InitStage(stage, name);
}

int MediatorInc(Tarsel::Core::ProgressControllerStages& stages) {
    return stages.IncProgress() ? 0 : 1;
}
