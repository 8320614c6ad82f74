#include "Proc/Settings/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Kernels/BalanceChroma.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iomanip>

extern "C" {
#include <libavfilter/version.h>
#include <libavutil/frame.h>
}

/// Colors shifted and mixed, in RGB: FFmpeg converts YUV to it and does not convert back.
namespace Tarsel::Proc {
namespace {

struct Shift {
    /// What it shifts, in which of the kernel's ranges.
    std::array<float, 3> ChromaBalance::*range;
    std::size_t color;
    char const* key;
    /// In hundredths of the filter's unit.
    std::int32_t SettingsEffectBalanceChroma::*value;
};
constexpr std::array s_shifts{
    Shift{&ChromaBalance::shadows, 0, "rs=", &SettingsEffectBalanceChroma::redShadows},
    Shift{&ChromaBalance::shadows, 1, "gs=", &SettingsEffectBalanceChroma::greenShadows},
    Shift{&ChromaBalance::shadows, 2, "bs=", &SettingsEffectBalanceChroma::blueShadows},
    Shift{&ChromaBalance::midtones, 0, "rm=", &SettingsEffectBalanceChroma::redMidtones},
    Shift{&ChromaBalance::midtones, 1, "gm=", &SettingsEffectBalanceChroma::greenMidtones},
    Shift{&ChromaBalance::midtones, 2, "bm=", &SettingsEffectBalanceChroma::blueMidtones},
    Shift{&ChromaBalance::highlights, 0, "rh=", &SettingsEffectBalanceChroma::redHighlights},
    Shift{&ChromaBalance::highlights, 1, "gh=", &SettingsEffectBalanceChroma::greenHighlights},
    Shift{&ChromaBalance::highlights, 2, "bh=", &SettingsEffectBalanceChroma::blueHighlights}};

constexpr int s_shiftDigits = 2;
constexpr double s_hundred = 100.0;

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
        text << std::setprecision(s_shiftDigits) << "colorbalance=";
        for (Shift const& shift : s_shifts)
            if (settings.*shift.value != 0)
                text << shift.key << settings.*shift.value / s_hundred << ':';
        return text.str();
    }

    static FastWay MakeFastWay(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const&) {
        ChromaBalance balance;
        for (Shift const& shift : s_shifts) {
            double const value = ReadAsWritten(settings.*shift.value / s_hundred, s_shiftDigits);
            if (!(-1 <= value && value <= 1))
                return {};
            (balance.*shift.range)[shift.color] = static_cast<float>(value);
        }
        if (!CoversBalanceChroma(format))
            return {};
        return {format, [=](AVFrame const& from, AVFrame& to) {
                    BalancedPicture picture{format,
                                            {},
                                            {},
                                            {},
                                            {},
                                            static_cast<std::size_t>(to.width),
                                            static_cast<std::size_t>(to.height)};
                    for (std::size_t i = 0; i < picture.from.size(); ++i) {
                        picture.from[i] = from.data[i];
                        picture.fromStrides[i] = from.linesize[i];
                        picture.to[i] = to.data[i];
                        picture.toStrides[i] = to.linesize[i];
                    }
                    BalanceChroma(picture, balance);
                }};
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
