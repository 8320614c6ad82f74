#include "Proc/Effects/Lumenta/Video/Colour.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"

#include <array>
#include <cstdint>
#include <iomanip>

namespace Tarsel::Proc {
namespace {

using BalanceChromaActions = EffectActions<SettingsEffectBalanceChroma>;
using MixerActions = EffectActions<SettingsEffectColorChannelMixer>;

struct Shift {
    char const* key;
    /// In hundredths of the filter's unit.
    std::int32_t SettingsEffectBalanceChroma::*value;
};
constexpr std::array s_shifts{Shift{"rs=", &SettingsEffectBalanceChroma::redShadows},
                              Shift{"gs=", &SettingsEffectBalanceChroma::greenShadows},
                              Shift{"bs=", &SettingsEffectBalanceChroma::blueShadows},
                              Shift{"rm=", &SettingsEffectBalanceChroma::redMidtones},
                              Shift{"gm=", &SettingsEffectBalanceChroma::greenMidtones},
                              Shift{"bm=", &SettingsEffectBalanceChroma::blueMidtones},
                              Shift{"rh=", &SettingsEffectBalanceChroma::redHighlights},
                              Shift{"gh=", &SettingsEffectBalanceChroma::greenHighlights},
                              Shift{"bh=", &SettingsEffectBalanceChroma::blueHighlights}};

} // namespace

std::string BalanceChromaActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeOptionStream();
    text << std::setprecision(2) << "colorbalance=";
    for (Shift const& shift : s_shifts)
        if (settings.*shift.value != 0)
            text << shift.key << settings.*shift.value / 100.0 << ':';
    return text.str();
}

std::string MixerActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeOptionStream();
    text << "colorchannelmixer" << std::setprecision(10);
    char separator = '=';
    for (double const gain : settings.gains) {
        text << separator << gain;
        separator = ':';
    }
    return text.str();
}

void MixerActions::CheckFrame(SettingsType const&, IDataVideo const& data) {
    if (Conf::PixFmtDescription::Find(data.GetPixelFormat()).IsRgb())
        RequireSamplesWithinDepth(
            data, SettingsType::CLASS_ID,
            {"Proc/Effects/Lumenta/EffectFafloplalVideo",
             "static void EffectActions<Tarsel::Proc::SettingsEffectColorChannelMixer>::CheckFrame("
             "const SettingsType &, const IDataVideo &)"});
}

SP<IOneInputEffectVideo> CreateEffectBalanceChroma(SP<IEffectFactory const> const&,
                                                   SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<BalanceChromaActions>>();
}

SP<IOneInputEffectVideo> CreateEffectColorChannelMixer(SP<IEffectFactory const> const&,
                                                       SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<MixerActions>>();
}

} // namespace Tarsel::Proc
