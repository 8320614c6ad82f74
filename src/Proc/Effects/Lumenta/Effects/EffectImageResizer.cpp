#include "Proc/Effects/Lumenta/Effects/EffectImageResizer.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>
#include <glog/logging.h>

#include <algorithm>
#include <iterator>

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Algorithm = SettingsResizer::Algorithm;

constexpr int s_resizerVerbosity = 30;

constexpr EffectTraits s_resizerTraits{.summary = "scales, crops and pads frames", .size = Keeps::Sometimes};

constexpr struct {
    Algorithm algorithm;
    int flag;
} s_algorithms[] = {
    {Algorithm::FastBilinear, SWS_FAST_BILINEAR},
    {Algorithm::Bilinear, SWS_BILINEAR},
    {Algorithm::Bicubic, SWS_BICUBIC},
    {Algorithm::Neighbor, SWS_POINT},
    {Algorithm::Area, SWS_AREA},
    {Algorithm::Gauss, SWS_GAUSS},
    {Algorithm::Sinc, SWS_SINC},
    {Algorithm::Lanczos, SWS_LANCZOS},
    {Algorithm::Spline, SWS_SPLINE},
};

int GetScalerFlags(Algorithm algorithm) {
    auto const* const row =
        std::ranges::find(s_algorithms, algorithm, [](auto const& each) { return each.algorithm; });
    int const flag = row != std::end(s_algorithms) ? row->flag : SWS_BICUBIC;
    return (SwsCtxParams{}.flags & ~SWS_BICUBIC) | flag;
}

/// Side data that speak of places in the picture by its old pixels.
constexpr AVFrameSideDataType s_placed[] = {AV_FRAME_DATA_PANSCAN, AV_FRAME_DATA_MOTION_VECTORS,
                                            AV_FRAME_DATA_REGIONS_OF_INTEREST, AV_FRAME_DATA_VIDEO_ENC_PARAMS,
                                            AV_FRAME_DATA_DETECTION_BBOXES};

/// Whether ComponentScaler is the better one.
bool GoesByComponent(AVFrame const& frame) {
    auto const& format = PixFmtDescription::Find(static_cast<PixFmt>(frame.format));
    return format.HasAlpha() || (format.IsRgb() && format.GetDepth() > 8);
}

SafeFrame MakePicture(std::uint32_t width, std::uint32_t height, PixFmt format,
                      Conf::ColorSpace const& space) {
    return {space, format, width, height, 0, 1};
}

} // namespace

EffectTraits const& EffectImageResizer::GetTraits() const noexcept {
    return s_resizerTraits;
}

void EffectImageResizer::UpdateFormat(Conf::IFormatCodecVideo& format) const {
    std::optional<ResizePlan> const plan =
        PlanResize(GetOptions(), format.GetPixelFormat(), format.GetFrameInfo());
    if (!plan)
        return;
    format.SetColorSpace(Conf::Color::After({format.GetPixelFormat(), format.GetColorSpace()}, plan->format,
                                            Conf::Color::For::Effect));
    format.SetPixelFormat(plan->format);
    format.InitByPixelAspect(plan->info.width, plan->info.height, plan->info.aspectNum, plan->info.aspectDen);
}

std::string EffectImageResizer::DescribeWork(Conf::IFormatCodecVideo const& format) const {
    PixFmt const input = format.GetPixelFormat();
    Conf::FrameInfo const info = format.GetFrameInfo();
    return DescribePlan(PlanResize(GetOptions(), input, info), input, info);
}

std::string EffectImageResizer::DescribePlan(std::optional<ResizePlan> const& plan, PixFmt format,
                                             Conf::FrameInfo const& info) const {
    if (!plan)
        return {};
    SettingsResizer const& options = GetOptions();
    std::string text =
        fmt::format("{}x{} -> {}x{}, {}", info.width, info.height, plan->target.width, plan->target.height,
                    ReadFieldText(options, *FindField(options.GetFields(), "algorithm")));
    if (plan->IsCropped(info))
        text += fmt::format(", cropped to {}x{}", plan->source.width, plan->source.height);
    if (plan->IsPadded())
        text += fmt::format(", padded to {}x{}", plan->info.width, plan->info.height);
    if (plan->isRounded)
        text += ", rounded to whole chroma samples";
    if (plan->info.aspectNum != info.aspectNum || plan->info.aspectDen != info.aspectDen)
        text += fmt::format(", pixel aspect {}:{}", plan->info.aspectNum, plan->info.aspectDen);
    if (plan->format != format)
        text += ", as " + PixFmtDescription::Find(plan->format).GetName();
    return text;
}

void EffectImageResizer::Forget() noexcept {
    m_plan.reset();
    m_unpacker.Drop();
    m_scaler.Drop();
    m_componentScaler.Drop();
    m_bars.reset();
}

void EffectImageResizer::AddStatistics(Core::Property& property) const {
    PictureEffect::AddStatistics(property);
    property.SetChildT("Interlaced", static_cast<std::int64_t>(m_interlaced));
}

SP<IDataVideo> EffectImageResizer::MakeResult(SP<IDataVideo> const& data) {
    PixFmt const format = data->GetPixelFormat();
    std::optional<ResizePlan> const plan = PlanResize(GetOptions(), format, data->GetFrameInfo());
    if (!plan)
        return data;
    SafeFrame picture = OpenPicture(*data, Core::Site::Here());
    Conf::FrameInfo const info = data->GetFrameInfo();
    if (plan != m_plan || format != m_format || info != m_info) {
        SetDescription(DescribePlan(plan, format, info));
        m_format = format;
        m_info = info;
        m_plan = plan;
    }
    NoteInterlaced(*picture, plan->target.height != plan->source.height);

    Conf::ColorSpace const space =
        Conf::Color::After({format, data->GetColorSpace()}, plan->format, Conf::Color::For::Effect);
    if (plan->format != format) {
        SafeFrame unpacked = MakePicture(info.width, info.height, plan->format, space);
        m_unpacker.Scale({SideOf(*picture), SideOf(*unpacked)}, *picture, *unpacked);
        picture = std::move(unpacked);
    }
    if (plan->IsCropped(info))
        picture = ViewRegion(*picture, plan->source);
    SP<DataVideoFF> result = DataVideoFF::CreateLike(*data, space, plan->format, plan->info);
    AVFrame& frame = *result->GetAVFrame();
    if (plan->IsPadded()) {
        SafeFrame inner = MakePicture(plan->target.width, plan->target.height, plan->format, space);
        ScaleInto(*picture, *inner);
        PaintBars(frame);
        CopyInto(*inner, frame, plan->target.x, plan->target.y);
    } else {
        ScaleInto(*picture, frame);
    }
    if (plan->target.height != plan->source.height)
        SetFrameFieldOrder(frame, FieldOrder::Progressive); // its fields are mixed
    for (AVFrameSideDataType const type : s_placed)
        av_frame_remove_side_data(&frame, type);
    return result;
}

void EffectImageResizer::NoteInterlaced(AVFrame const& frame, bool changesHeight) {
    if (!changesHeight || GetFrameFieldOrder(frame) == FieldOrder::Progressive)
        return;
    if (m_interlaced++ == 0)
        VLOG(s_resizerVerbosity) << "Interlaced frames are resized as whole frames, which mixes their fields";
}

void EffectImageResizer::ScaleInto(AVFrame const& from, AVFrame& to) {
    int const flags = GetScalerFlags(GetOptions().algorithm);
    if (from.width == to.width && from.height == to.height)
        CopyInto(from, to, 0, 0);
    else if (GoesByComponent(from))
        m_componentScaler.Scale(from, to, flags);
    else
        m_scaler.Scale({SideOf(from), SideOf(to), flags}, from, to);
}

void EffectImageResizer::PaintBars(AVFrame& frame) {
    SwsCtxSide const form = SideOf(frame);
    if (!m_bars || !(SideOf(**m_bars) == form)) {
        m_bars = MakePicture(form.width, form.height, form.format, form.space);
        FillPicture(**m_bars, GetOptions().background);
    }
    CopyInto(**m_bars, frame, 0, 0);
}

template <>
struct EffectOver<SettingsResizer> {
    using Interface = IOneInputEffectVideo;
    using Type = EffectImageResizer;
};
template EffectCreator GetCreator<SettingsResizer>();

} // namespace Tarsel::Proc
