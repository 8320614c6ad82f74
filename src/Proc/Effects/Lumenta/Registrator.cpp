#include "Proc/Effects/Lumenta/Registrator.h"

#include "Proc/Effects/Lumenta/Audio/Delay.h"
#include "Proc/Effects/Lumenta/Audio/Dynamics.h"
#include "Proc/Effects/Lumenta/Audio/Equalizer.h"
#include "Proc/Effects/Lumenta/Audio/Modulation.h"
#include "Proc/Effects/Lumenta/AudioGeneratorFF.h"
#include "Proc/Effects/Lumenta/ColorBalanceFF.h"
#include "Proc/Effects/Lumenta/CreateEffect.h"
#include "Proc/Effects/Lumenta/EffectImageResizer.h"
#include "Proc/Effects/Lumenta/MidEqualizerFF.h"
#include "Proc/Effects/Lumenta/PixelFormatConverterFF.h"
#include "Proc/Effects/Lumenta/ResampleFF.h"
#include "Proc/Effects/Lumenta/RotateFF.h"
#include "Proc/Effects/Lumenta/SmartBlurFF.h"
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
    Registration{&SettingsPixelFormatConverter::CLASS_ID, CreatePixelFormatConverter},
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
    Registration{&SettingsEffectMidEqualizer::CLASS_ID, CreateEffectMidequalizer},
    Registration{&SettingsDeinterlace::CLASS_ID, CreateEffectDeinterlace},
    Registration{&SettingsResizer::CLASS_ID, CreateEffect<IOneInputEffectVideo, EffectImageResizer>},
    Registration{&IResample::CLASS_ID, CreateEffect<IOneInputEffectAudio, ResampleFF>},
    Registration{&IResizeComplex::EXTENDED_CLASS_ID, CreateEffect<IOneInputEffectVideo, EffectImageResizer>},
    Registration{&SettingsEffectRotate::CLASS_ID, RotateFF::Create},
    Registration{&SettingsEffectColorBalance::CLASS_ID, ColorBalanceFF::Create},
    Registration{&SettingsEffectSmartBlur::CLASS_ID, SmartBlurFF::Create},
    Registration{&SettingsAudioEqualizer::CLASS_ID, CreateEffectAudioFF<SettingsAudioEqualizer>},
    Registration{&SettingsAudioEcho::CLASS_ID, CreateEffectAudioFF<SettingsAudioEcho>},
    Registration{&SettingsAudioChorus::CLASS_ID, CreateEffectAudioFF<SettingsAudioChorus>},
    Registration{&SettingsAudioReverb::CLASS_ID, CreateEffectAudioFF<SettingsAudioReverb>},
    Registration{&SettingsAudioGate::CLASS_ID, CreateEffectAudioFF<SettingsAudioGate>},
    Registration{&SettingsAudioNoiseGate::CLASS_ID, CreateEffectAudioFF<SettingsAudioNoiseGate>},
    Registration{&SettingsAudioCompressor::CLASS_ID, CreateEffectAudioFF<SettingsAudioCompressor>},
    Registration{&SettingsAudioDistortion::CLASS_ID, CreateEffectAudioFF<SettingsAudioDistortion>},
    Registration{&SettingsAudioFlanger::CLASS_ID, CreateEffectAudioFF<SettingsAudioFlanger>},
    Registration{&SettingsAudioVibrato::CLASS_ID, CreateEffectAudioFF<SettingsAudioVibrato>},
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
