#include "Proc/Effects/Lumenta/Effects/ColorBalanceFF.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Format.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iomanip>
#include <stdexcept>
#include <utility>

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;
using ColorBalance = SettingsEffectColorBalance;

constexpr EffectTraits s_colorBalanceTraits{.summary =
                                                "adjusts brightness, contrast, saturation, gamma and hue",
                                            .alpha = Keeps::Always,
                                            .depth = Keeps::Sometimes,
                                            .range = Keeps::Sometimes};

/// The formats whose alpha is kept, ascending, and where it lies.
struct AlphaPlane {
    PixFmt format;
    std::uint8_t index;
};
constexpr std::array s_alphaPlanes{AlphaPlane{PixFmt::YUVA420P, 3}, AlphaPlane{PixFmt::YUVA422P, 3},
                                   AlphaPlane{PixFmt::YUVA444P, 3}};

int FindAlphaPlane(PixFmt format) {
    auto const row = std::ranges::find(s_alphaPlanes, format, &AlphaPlane::format);
    if (row == s_alphaPlanes.end())
        Core::Throw<std::out_of_range>(
            "map::at:  key not found",
            TagDetail(fmt::format("the converter gave {}", Conf::PixFmtDescription::Find(format).GetName())));
    return row->index;
}

SettingsPixelFormatConverter MakeConverterSettings() {
    SettingsPixelFormatConverter settings;
    for (AlphaPlane const& plane : s_alphaPlanes)
        settings.formats.push_back(plane.format);
    settings.hasAlpha = true;
    return settings;
}

void Convert(IOneInputEffectVideo& converter, SP<IDataVideo>& frame) {
    converter.Process(frame);
    if (!frame)
        Core::Throw<EffectException>("The pixel format converter gave no frame");
}

/// An option of "eq" that is written where it has been changed.
struct EqOption {
    char const* name;
    double (ColorBalance::*value)() const noexcept;
    bool (*isChanged)(ColorBalance const&);
};
constexpr std::array s_eqOptions{
    EqOption{"brightness", &ColorBalance::GetFFBrightness,
             [](ColorBalance const& settings) { return settings.brightness != 0; }},
    EqOption{"saturation", &ColorBalance::GetFFSaturation,
             [](ColorBalance const& settings) { return settings.IsSaturationSet(); }},
    EqOption{"gamma", &ColorBalance::GetFFGamma,
             [](ColorBalance const& settings) { return settings.IsGammaSet(); }},
    EqOption{"gamma_r", &ColorBalance::GetFFGammaRed,
             [](ColorBalance const& settings) { return settings.redGamma != 0; }},
    EqOption{"gamma_g", &ColorBalance::GetFFGammaGreen,
             [](ColorBalance const& settings) { return settings.greenGamma != 0; }},
    EqOption{"gamma_b", &ColorBalance::GetFFGammaBlue,
             [](ColorBalance const& settings) { return settings.blueGamma != 0; }},
    EqOption{"gamma_weight", &ColorBalance::GetFFGammaWeight,
             [](ColorBalance const& settings) { return settings.gammaWeight != 100; }},
};

std::string MakeLumaText(ColorBalance const& settings) {
    if (!settings.IsLumaChanged())
        return {};
    std::ostringstream text = MakeOptionStream();
    text << std::setprecision(2) << "eq=contrast=" << settings.GetFFContrast();
    for (EqOption const& option : s_eqOptions)
        if (option.isChanged(settings))
            text << ':' << option.name << '=' << (settings.*option.value)();
    return text.str();
}

std::string MakeChromaText(ColorBalance const& settings) {
    return settings.IsChromaChanged() ? fmt::format("hue=h={}", settings.hue) : std::string();
}

} // namespace

SP<IOneInputEffectVideo> ColorBalanceFF::Create(SP<IEffectFactory const> const& factory,
                                                SP<IFactoryDataVideo const> const& data) {
    return MakeSP<ColorBalanceFF>(factory, data);
}

ColorBalanceFF::ColorBalanceFF(SP<IEffectFactory const> const& factory, SP<IFactoryDataVideo const> data)
    : m_dataFactory(std::move(data)) {
    if (!factory)
        return;
    m_converter = factory->CreateVideoEffect(SettingsPixelFormatConverter::CLASS_ID, ImplNames::DEFAULT, {});
    m_converter->SetSettings(static_cast<Settings const&>(MakeConverterSettings()));
}

void ColorBalanceFF::SetSettingsImpl() {
    std::string const luma = MakeLumaText(m_settings);
    std::string const chroma = MakeChromaText(m_settings);
    m_description = luma + (luma.empty() || chroma.empty() ? "" : "[s];[s]") + chroma;
}

/// Frames of formats with alpha are converted, unless they pass untouched.
bool ColorBalanceFF::ConvertsAlpha(PixFmt format) const {
    return !m_settings.IsEmpty() && Conf::PixFmtDescription::Find(format).HasAlpha();
}

IOneInputEffectVideo& ColorBalanceFF::GetConverter() const {
    if (!m_converter)
        Core::Throw<EffectException>(fmt::format(
            "Frames with alpha take the effect \"{}\", and no effect factory was given to make one",
            SettingsPixelFormatConverter::CLASS_ID));
    return *m_converter;
}

void ColorBalanceFF::Process(SP<IDataVideo>& data) {
    std::lock_guard const lock(m_lock);
    if (!data || !ConvertsAlpha(data->GetPixelFormat())) {
        EffectVideoFF::Process(data);
        return;
    }
    IOneInputEffectVideo& converter = GetConverter();
    SP<IDataVideo> frame = data;
    Convert(converter, frame);
    SP<IDataVideo> const kept = frame->Copy();
    ReadOnlyPlane const alpha = kept->GetReadOnlyPlane(FindAlphaPlane(kept->GetPixelFormat()));
    EffectVideoFF::Process(frame);
    Convert(converter, frame);
    CopyPlane(alpha, frame->GetWritablePlane(FindAlphaPlane(frame->GetPixelFormat())));
    data = std::move(frame);
}

void ColorBalanceFF::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    if (!ConvertsAlpha(format->GetPixelFormat()))
        return;
    Settings const& settings = GetConverter().GetSettingsBase();
    int loss = 0;
    format->SetPixelFormat(
        Conf::FindBestPixelFormatOfList(dynamic_cast<SettingsPixelFormatConverter const&>(settings).formats,
                                        format->GetPixelFormat(), true, &loss));
}

void ColorBalanceFF::Work(SP<IDataVideo> const& data) {
    if (!ConvertsAlpha(data->GetPixelFormat())) {
        EffectVideoFF::Work(data);
        return;
    }
    // The filters give a frame for each: nothing is held back, here or of the frames before.
    SP<IDataVideo> result = data;
    Process(result);
    m_stream.Pass(std::move(result));
}

EffectTraits const& ColorBalanceFF::GetTraits() const noexcept {
    return s_colorBalanceTraits;
}

template <>
struct EffectOver<SettingsEffectColorBalance> {
    using Interface = IOneInputEffectVideo;
    using Type = ColorBalanceFF;
};
template EffectCreator GetCreator<SettingsEffectColorBalance>();

} // namespace Tarsel::Proc
