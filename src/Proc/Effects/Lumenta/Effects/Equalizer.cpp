#include "Proc/Settings/Equalizer.h"
#include "Core/Text.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {
namespace {

using BandEq = SettingsAudioEqualizer::BandEq;

} // namespace

/// Bands of one octave, made louder or quieter.
template <>
struct EffectActionsAudio<SettingsAudioEqualizer> {
    using SettingsType = SettingsAudioEqualizer;
    static constexpr EffectTraits s_traits{.summary = "boosts or cuts frequency bands",
                                           .frameIndependent = false};

    /// Leaves out bands from half the sample rate on; "" when none are left.
    static std::string GetFFString(SettingsType const& settings, Conf::SampleInfo const& info) {
        std::int32_t const nyquist = info.rate >> 1;
        std::vector<std::string> filters;
        for (BandEq const& band : settings.bands) {
            if (band.frequency >= nyquist)
                continue;
            std::ostringstream text = MakeClassicStream();
            text << "equalizer=f=" << band.frequency
                 << ":width_type=o:width=1:g=" << band.gain * double{settings.factor};
            filters.push_back(text.str());
        }
        return Core::Utils::ToString(filters, ",", [](std::string const& filter) { return filter; });
    }

    /// Clips real samples, into a block of their own.
    static void PostProcess(SettingsType const&, SP<IDataAudio>& data) {
        if (!data || !Conf::IsReal(data->GetSampleFormat()))
            return;
        SP<DataAudioFF> const clipped =
            DataAudioFF::CreateBySampleCount(data->GetSampleInfo(), static_cast<int>(data->GetSampleCount()));
        clipped->SetTime(data->GetTime());
        clipped->SetDuration(data->GetDuration());
        for (int plane = 0; plane < CountPlanes(*data); ++plane)
            ClipAudio(GetPlaneRef(*clipped, plane), GetPlaneRef(*data, plane));
        data = clipped;
    }
};

template EffectCreator GetCreator<SettingsAudioEqualizer>();

} // namespace Tarsel::Proc
