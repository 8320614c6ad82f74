#include "Proc/Settings/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"

#include <array>
#include <cstdint>
#include <iomanip>

extern "C" {
#include <libavfilter/version.h>
}

/// Colors shifted and mixed, in RGB: FFmpeg converts YUV to it and does not convert back.
namespace Tarsel::Proc {
namespace {

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

template <>
struct EffectActions<SettingsEffectBalanceChroma> {
    using SettingsType = SettingsEffectBalanceChroma;
    // FFmpeg 7 converts formats with alpha in other ways.
    static constexpr EffectTraits s_traits{.summary = "shifts colors in shadows, midtones and highlights",
                                           .alpha = LIBAVFILTER_VERSION_MAJOR > 8 ? Keeps::Sometimes
                                                                                  : Keeps::Always,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeOptionStream();
        text << std::setprecision(2) << "colorbalance=";
        for (Shift const& shift : s_shifts)
            if (settings.*shift.value != 0)
                text << shift.key << settings.*shift.value / 100.0 << ':';
        return text.str();
    }
};

template <>
struct EffectActions<SettingsEffectColorChannelMixer> {
    using SettingsType = SettingsEffectColorChannelMixer;
    static constexpr EffectTraits s_traits{
        .summary = "mixes the color and alpha channels", .alpha = Keeps::Sometimes, .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeOptionStream();
        text << "colorchannelmixer" << std::setprecision(10);
        char separator = '=';
        for (double const gain : settings.gains) {
            text << separator << gain;
            separator = ':';
        }
        return text.str();
    }

    /// The filter looks samples up in tables that end where their depth ends. YUV comes to it as RGB from
    /// the scaler, which keeps to the depth.
    static void CheckFrame(SettingsType const&, IDataVideo const& data) {
        if (Conf::PixFmtDescription::Find(data.GetPixelFormat()).IsRgb())
            RequireSamplesWithinDepth(data, SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template EffectCreator GetCreator<SettingsEffectBalanceChroma>();
template EffectCreator GetCreator<SettingsEffectColorChannelMixer>();

} // namespace Tarsel::Proc
