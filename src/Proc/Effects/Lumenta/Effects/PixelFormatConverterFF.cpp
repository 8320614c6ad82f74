#include "Proc/Effects/Lumenta/Effects/PixelFormatConverterFF.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"
#include "Proc/Effects/Lumenta/Picture/PaletteConversion.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Effects/Lumenta/Picture/Premultiply.h"
#include "Proc/Effects/Lumenta/Picture/Repack.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>
#include <glog/logging.h>

#include <algorithm>
#include <string_view>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Conf::Color::For;
using Conf::Color::Model;

constexpr int s_verbosity = 30;

constexpr EffectTraits s_converterTraits{.summary =
                                             "converts frames to the nearest of the given pixel formats",
                                         .alpha = Keeps::Sometimes,
                                         .depth = Keeps::Sometimes};

constexpr auto s_rgb48 = static_cast<PixFmt>(AV_PIX_FMT_RGB48);

bool Contains(std::vector<PixFmt> const& formats, PixFmt format) {
    return std::ranges::find(formats, format) != formats.end();
}

bool HasAlpha(PixFmt format) {
    return PixFmtDescription::Find(format).HasAlpha();
}

PixFmt FormatOf(AVFrame const& frame) noexcept {
    return static_cast<PixFmt>(frame.format);
}

/// Those that frames can be made of.
std::vector<PixFmt> ListPossible(std::vector<PixFmt> const& formats) {
    std::vector<PixFmt> possible;
    std::ranges::copy_if(formats, std::back_inserter(possible), &PixFmtDescription::IsSupported);
    if (possible.empty())
        Core::Throw<EffectException>(fmt::format("None of the allowed pixel formats can be written: {}",
                                                 Core::Utils::ToString(formats, ", ", [](PixFmt format) {
                                                     return PixelFormatText(static_cast<int>(format));
                                                 })));
    return possible;
}

std::string LossMessage(PixFmt from, PixFmt to, int loss) {
    return fmt::format("Pixel format convertion from {} to {} have loss mask={}",
                       PixFmtDescription::Find(from).GetName(), PixFmtDescription::Find(to).GetName(), loss);
}

/// The format in which a picture is laid over the background on its way to `format`: this itself, or where
/// its components are too coarse or no colors that can be mixed, RGB.
PixFmt ChooseBlended(PixFmt format) {
    switch (Conf::Color::ModelOf(format)) {
    case Model::Gray:
    case Model::Yuv:
        return format;
    case Model::Rgb:
        return PixFmtDescription::Find(format).GetDepth() < 8 ? PixFmt::RGB24 : format;
    case Model::Palette:
    case Model::Xyz:
        break;
    }
    return s_rgb48;
}

/// A picture of the size of `model`, its pixels not set.
SafeFrame MakePicture(AVFrame const& model, PixFmt format, Conf::ColorSpace const& space) {
    return {space, format, static_cast<std::uint32_t>(model.width), static_cast<std::uint32_t>(model.height),
            0,     1};
}

} // namespace

EffectTraits const& PixelFormatConverterFF::GetTraits() const noexcept {
    return s_converterTraits;
}

std::string PixelFormatConverterFF::Conversion::Describe() const {
    std::string const change = fmt::format("{} -> {}", PixFmtDescription::Find(from).GetName(),
                                           PixFmtDescription::Find(to).GetName());
    return loss == 0 ? change : fmt::format("{}; lost: {}", change, Conf::GetLossText(loss));
}

/// Nothing where frames pass untouched.
std::optional<PixelFormatConverterFF::Conversion>
PixelFormatConverterFF::Choose(PixFmt from, Conf::ColorSpace const& space) const {
    SettingsPixelFormatConverter const& options = GetOptions();
    if (Contains(options.formats, from))
        return std::nullopt;
    Conversion chosen{from, space, PixFmt::None, {}, 0};
    // By its plain name: a "j" format loses nothing to its twin, whose range is said beside it.
    chosen.to = Conf::FindBestPixelFormatOfList(ListPossible(options.formats), Conf::WithoutFixedRange(from),
                                                options.hasAlpha, &chosen.loss);
    // FFmpeg misses chroma in gray that was never there.
    if (PixFmtDescription::Find(from).IsGray())
        chosen.loss &= ~(FF_LOSS_RESOLUTION | FF_LOSS_COLORSPACE);
    // To FFmpeg a palette has alpha; those made here are opaque.
    if (chosen.to == PixFmt::PAL8 && options.hasAlpha && HasAlpha(from))
        chosen.loss |= FF_LOSS_ALPHA;
    chosen.space = Conf::Color::After({from, space}, chosen.to, For::Effect);
    if (chosen.loss != 0 && options.refuseLoss)
        Core::Throw<EffectException>(LossMessage(from, chosen.to, chosen.loss));
    return chosen;
}

void PixelFormatConverterFF::UpdateFormat(Conf::IFormatCodecVideo& format) const {
    if (std::optional<Conversion> const chosen = Choose(format.GetPixelFormat(), format.GetColorSpace())) {
        format.SetPixelFormat(chosen->to);
        format.SetColorSpace(chosen->space);
    }
}

std::string PixelFormatConverterFF::DescribeWork(Conf::IFormatCodecVideo const& format) const {
    std::optional<Conversion> const chosen = Choose(format.GetPixelFormat(), format.GetColorSpace());
    return chosen ? chosen->Describe() : std::string();
}

void PixelFormatConverterFF::Forget() noexcept {
    m_last = {};
    m_unpacker.Drop();
    m_scaler.Drop();
    m_finisher.Drop();
}

SP<IDataVideo> PixelFormatConverterFF::MakeResult(SP<IDataVideo> const& data) {
    std::optional<Conversion> const chosen = Choose(data->GetPixelFormat(), data->GetColorSpace());
    if (!chosen)
        return data;
    if (chosen->from != m_last.from || chosen->to != m_last.to) {
        if (chosen->loss != 0)
            VLOG(s_verbosity) << LossMessage(chosen->from, chosen->to, chosen->loss);
        SetDescription(chosen->Describe());
        m_last = *chosen;
    }
    SafeFrame const from = OpenPicture(*data, Core::Site::Here());
    SP<DataVideoFF> result = DataVideoFF::CreateLike(*data, chosen->space, chosen->to, data->GetFrameInfo());
    if (PixFmt const workable = Conf::Color::Workable(chosen->from); workable != chosen->from) {
        SafeFrame unpacked = MakePicture(*from, workable, chosen->fromSpace);
        m_unpacker.Scale({SideOf(*from), SideOf(*unpacked)}, *from, *unpacked);
        Convert(*unpacked, *result->GetAVFrame());
    } else {
        Convert(*from, *result->GetAVFrame());
    }
    return result;
}

void PixelFormatConverterFF::Convert(AVFrame const& from, AVFrame& to) {
    SettingsPixelFormatConverter const& options = GetOptions();
    if (FormatOf(to) == PixFmt::PAL8) {
        SafeFrame rgba = MakePicture(
            from, PixFmt::RGBA,
            Conf::Color::After({FormatOf(from), GetFrameColorSpace(from)}, PixFmt::RGBA, For::Effect));
        ConvertStraight(from, *rgba, m_scaler);
        ConvertToPalette(*rgba, to, {options.colors, options.dither, options.background});
    } else if (HasAlpha(FormatOf(from)) && !HasAlpha(FormatOf(to))) {
        Flatten(from, to);
    } else {
        ConvertStraight(from, to, m_scaler);
    }
}

void PixelFormatConverterFF::ConvertStraight(AVFrame const& from, AVFrame& to, KeptScaler& scaler) const {
    if (CanRepack(from, to)) {
        Repack(from, to);
    } else {
        SwsCtxParams params{SideOf(from), SideOf(to)};
        if (!GetOptions().accurate)
            params.flags &= ~SWS_FULL_CHR_H_INT;
        scaler.Scale(params, from, to);
    }
    CopyAlpha(from, to);
}

void PixelFormatConverterFF::Flatten(AVFrame const& from, AVFrame& to) {
    PixFmt const blended = ChooseBlended(FormatOf(to));
    if (blended != FormatOf(to)) {
        SafeFrame between = MakePicture(from, blended, GetFrameColorSpace(to));
        Flatten(from, *between);
        ConvertStraight(*between, to, m_finisher);
        return;
    }
    ConvertStraight(from, to, m_scaler);
    if (HasBlendKernel(blended))
        Premultiply(from, to);
    else
        BlendByComponent(from, to, GetOptions().background);
}

void PixelFormatConverterFF::Premultiply(AVFrame const& withAlpha, AVFrame& converted) const {
    if (withAlpha.width != converted.width || withAlpha.height != converted.height)
        Core::Throw<EffectException>(fmt::format("The alpha plane has {}x{} pixels, the frame {}x{}",
                                                 withAlpha.width, withAlpha.height, converted.width,
                                                 converted.height));
    BlendByKernel(withAlpha, converted, GetOptions().background);
}

template <>
struct EffectOver<SettingsPixelFormatConverter> {
    using Interface = IOneInputEffectVideo;
    using Type = PixelFormatConverterFF;
};
template EffectCreator GetCreator<SettingsPixelFormatConverter>();

} // namespace Tarsel::Proc
