#include "Proc/Effects/Lumenta/Effects/RotateFF.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Picture/RotateGeometry.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numbers>
#include <string_view>
#include <utility>

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;
using SizeMode = SettingsEffectRotate::SizeMode;

// Time of the calling thread for a frame of 1920x1080: 26 ms on one thread, 13 ms on two.
constexpr EffectTraits s_rotateTraits{.summary = "rotates frames by any angle",
                                      .alpha = Keeps::Always,
                                      .depth = Keeps::Sometimes,
                                      .range = Keeps::Sometimes,
                                      .size = Keeps::Sometimes,
                                      .slices = true};

/// Packed formats with alpha that keep the order of a format's components.
struct WithAlpha {
    PixFmt format;
    std::string_view name;
};
constexpr std::array s_withAlpha{
    WithAlpha{PixFmt::RGB24, "rgba"}, WithAlpha{PixFmt::BGR24, "bgra"}, WithAlpha{PixFmt::ARGB, "argb"},
    WithAlpha{PixFmt::RGBA, "rgba"},  WithAlpha{PixFmt::ABGR, "abgr"},  WithAlpha{PixFmt::BGRA, "bgra"},
    WithAlpha{PixFmt::RGBZ, "rgba"},  WithAlpha{PixFmt::BGRZ, "bgra"},
};

std::string_view NameWithAlpha(PixFmt format) {
    auto const row = std::ranges::find(s_withAlpha, format, &WithAlpha::format);
    return row != s_withAlpha.end() ? row->name : "bgra";
}

double ToRadians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

bool ComputesSize(SettingsEffectRotate const& settings) {
    return settings.sizeMode == SizeMode::Crop || settings.sizeMode == SizeMode::Pad;
}

/// `angle` in radians; the size is the settings' own.
std::string MakeText(SettingsEffectRotate const& settings, double angle, PixFmt format) {
    std::string text;
    Conf::PixColor const& fill = settings.fillColor;
    if (settings.sizeMode != SizeMode::Crop && fill.alpha < 255)
        text += fmt::format("format={},", NameWithAlpha(format));
    text += fmt::format("rotate=angle={:.3f}:fillcolor=0x{:02x}{:02x}{:02x}{:02x}", angle, fill.red,
                        fill.green, fill.blue, fill.alpha);
    if (settings.bilinear)
        text += ":bilinear=1";
    if (settings.sizeMode == SizeMode::Given || ComputesSize(settings))
        text += fmt::format(":out_w={}:out_h={}", settings.outputWidth, settings.outputHeight);
    return text;
}

} // namespace

SP<IOneInputEffectVideo> RotateFF::Create(SP<IEffectFactory const> const& factory,
                                          SP<IFactoryDataVideo const> const&) {
    return MakeSP<RotateFF>(factory);
}

RotateFF::RotateFF(SP<IEffectFactory const> factory) : m_factory(std::move(factory)) {}

/// The frames seen and the transpose effect go as well.
void RotateFF::Forget() noexcept {
    EffectVideoFF::Forget();
    m_transpose = nullptr;
    m_info = {};
}

bool RotateFF::AnalyzeAngle(double& angle) {
    SplitAngle const split = TakeApart(angle);
    angle = split.angle;
    if (split.isWhole)
        m_transpose = MakeTranspose(split.quarters);
    return split.isWhole;
}

SP<IOneInputEffectVideo> RotateFF::MakeTranspose(std::int32_t quarters) const {
    SettingsEffectTranspose settings;
    for (; quarters > 0; --quarters)
        settings.AddAngle90();
    for (; quarters < 0; ++quarters)
        settings.SubAngle90();
    if (!m_factory)
        Core::Throw<EffectException>(
            fmt::format("Cannot rotate by {:g} degrees: quarter turns take the effect \"{}\", and no effect "
                        "factory was given to make one",
                        m_settings.angle, SettingsEffectTranspose::CLASS_ID));
    SP<IOneInputEffectVideo> transpose =
        m_factory->CreateVideoEffect(SettingsEffectTranspose::CLASS_ID, ImplNames::DEFAULT, {});
    transpose->SetSettings(static_cast<Settings const&>(settings));
    return transpose;
}

void RotateFF::SetSettingsImpl() {
    // An angle of 0 is a whole number of turns too, but frames pass without any effect.
    if (m_settings.IsEmpty())
        return;
    double angle = ToRadians(m_settings.angle);
    if (AnalyzeAngle(angle))
        return;
    // The first frame brings the size.
    if (ComputesSize(m_settings) && (m_info.width == 0 || m_info.height == 0))
        return;
    m_settings = WithSize(angle, m_info);
    m_description = MakeText(m_settings, angle, m_format);
}

/// The settings with the size that comes out for frames of that geometry, where it is to be computed.
SettingsEffectRotate RotateFF::WithSize(double angle, Conf::FrameInfo const& info) const {
    SettingsEffectRotate settings = m_settings;
    if (!ComputesSize(settings))
        return settings;
    PictureSize size;
    if (info.width != 0 && info.height != 0)
        size = settings.sizeMode == SizeMode::Pad ? ComputeSizePad(info.width, info.height, angle)
                                                  : ComputeSizeCrop(info.width, info.height, angle);
    if (size.width == 0 || size.height == 0)
        Core::Throw<EffectException>(
            fmt::format("Cannot rotate a frame of {}x{} pixels by {:g} degrees: {}x{} would be left",
                        info.width, info.height, settings.angle, size.width, size.height));
    settings.outputWidth = size.width;
    settings.outputHeight = size.height;
    return settings;
}

std::string RotateFF::GetDescription(PixFmt format, Conf::FrameInfo const& info) const {
    double const angle = TakeApart(ToRadians(m_settings.angle)).angle;
    return MakeText(WithSize(angle, info), angle, format);
}

/// Makes the transpose effect again where Reset took it.
void RotateFF::FindTranspose() {
    if (m_transpose || m_settings.IsEmpty())
        return;
    double angle = ToRadians(m_settings.angle);
    AnalyzeAngle(angle);
}

/// Writes the description for frames of this kind.
void RotateFF::Remember(IDataVideo const& data) {
    PixFmt const format = data.GetPixelFormat();
    Conf::FrameInfo const info = data.GetFrameInfo();
    if (m_format == format && m_info == info)
        return;
    m_format = format;
    m_info = info;
    try {
        SetSettingsImpl();
    } catch (...) {
        m_info = {}; // there is no description for such frames
        throw;
    }
}

void RotateFF::Process(SP<IDataVideo>& data) {
    std::lock_guard const lock(m_lock);
    if (data)
        FindTranspose();
    if (m_transpose) {
        m_transpose->Process(data);
        return;
    }
    if (data)
        Remember(*data);
    EffectVideoFF::Process(data);
}

void RotateFF::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    FindTranspose();
    if (m_transpose)
        m_transpose->UpdateFormatCodec(format);
    else
        EffectVideoFF::UpdateFormatCodec(format);
}

void RotateFF::Work(SP<IDataVideo> const& data) {
    FindTranspose();
    if (!m_transpose) {
        Remember(*data);
        EffectVideoFF::Work(data);
    } else if (auto* const stream = dynamic_cast<IEffectStreamVideo*>(m_transpose.get())) {
        stream->Feed(data);
        DrainTranspose();
    } else {
        SP<IDataVideo> result = data;
        m_transpose->Process(result);
        if (result)
            m_stream.Pass(std::move(result));
    }
}

void RotateFF::FinishStream() {
    if (auto* const stream = dynamic_cast<IEffectStreamVideo*>(m_transpose.get())) {
        stream->End();
        DrainTranspose();
    }
    EffectVideoFF::FinishStream();
}

void RotateFF::DrainTranspose() {
    auto& stream = dynamic_cast<IEffectStreamVideo&>(*m_transpose);
    while (SP<IDataVideo> result = stream.Take())
        m_stream.Pass(std::move(result));
}

std::string RotateFF::Describe(Conf::IFormatCodecVideo const& format) const {
    std::lock_guard const lock(m_lock);
    SplitAngle const split = TakeApart(ToRadians(m_settings.angle));
    if (m_settings.IsEmpty() || !split.isWhole)
        return EffectVideoFF::Describe(format);
    SP<IOneInputEffectVideo> const transpose = m_transpose ? m_transpose : MakeTranspose(split.quarters);
    if (auto const* const details = dynamic_cast<IEffectDetailsVideo const*>(transpose.get()))
        return details->Describe(format);
    return fmt::format("{} step={}", SettingsEffectTranspose::CLASS_ID, (split.quarters + 4) % 4);
}

EffectTraits const& RotateFF::GetTraits() const noexcept {
    return s_rotateTraits;
}

template <>
struct EffectOver<SettingsEffectRotate> {
    using Interface = IOneInputEffectVideo;
    using Type = RotateFF;
};
template EffectCreator GetCreator<SettingsEffectRotate>();

} // namespace Tarsel::Proc
