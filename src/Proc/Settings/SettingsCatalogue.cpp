#include "Proc/Settings/SettingsCatalogue.h"

#include "Proc/Settings/Colour.h"
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
#include "Proc/Settings/Stabilise.h"
#include "Proc/Settings/Stylise.h"

#include <algorithm>
#include <array>

namespace Tarsel::Proc {

namespace {

template <class S>
SettingsClass Describe() {
    return {S::GetTable(), []() -> std::unique_ptr<Settings> { return std::make_unique<S>(); }};
}

} // namespace

std::span<SettingsClass const> GetSettingsCatalogue() noexcept {
    static std::array const s_catalogue{
        Describe<SettingsEffectFlip>(),
        Describe<SettingsEffectTranspose>(),
        Describe<SettingsEffectDisplayMatrix>(),
        Describe<SettingsEffectDeshake>(),
        Describe<SettingsEffectStabilizer>(),
        Describe<SettingsPixelFormatConverter>(),
        Describe<SettingsEffectDenoiseChromaLuma>(),
        Describe<SettingsEffectDenoiseDCT>(),
        Describe<SettingsEffectDenoiseOvercompleteWavelet>(),
        Describe<SettingsEffectEdgeDetect>(),
        Describe<SettingsEffectEmboss>(),
        Describe<SettingsEffectBalanceChroma>(),
        Describe<SettingsEffectBlur>(),
        Describe<SettingsEffectColorChannelMixer>(),
        Describe<SettingsEffectNegateVideo>(),
        Describe<SettingsEffectNoiseVideo>(),
        Describe<SettingsEffectBorder>(),
        Describe<SettingsEffectPosterize>(),
        Describe<SettingsEffectRemoveGrain>(),
        Describe<SettingsEffectMidEqualizer>(),
        Describe<SettingsDeinterlace>(),
        Describe<SettingsResizer>(),
        Describe<SettingsResample>(),
        Describe<SettingsEffectRotate>(),
        Describe<SettingsEffectColorBalance>(),
        Describe<SettingsEffectSmartBlur>(),
        Describe<SettingsAudioEqualizer>(),
        Describe<SettingsAudioEcho>(),
        Describe<SettingsAudioChorus>(),
        Describe<SettingsAudioReverb>(),
        Describe<SettingsAudioGate>(),
        Describe<SettingsAudioNoiseGate>(),
        Describe<SettingsAudioCompressor>(),
        Describe<SettingsAudioDistortion>(),
        Describe<SettingsAudioFlanger>(),
        Describe<SettingsAudioVibrato>(),
    };
    return s_catalogue;
}

SettingsClass const* FindSettingsClass(std::string_view classId) noexcept {
    auto const found = std::ranges::find(GetSettingsCatalogue(), classId, &SettingsClass::classId);
    return found == GetSettingsCatalogue().end() ? nullptr : &*found;
}

} // namespace Tarsel::Proc
