#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Graph/FrameFault.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

namespace Tarsel::Proc {
namespace {

AVPixelFormat FormatOf(AVFrame const& frame) noexcept {
    return Conf::ToAVPixelFormat(frame.format);
}

/// From the first byte of a plane to that of the sample which holds pixel x, y.
std::ptrdiff_t OffsetInPlane(AVFrame const& frame, int plane, std::uint32_t x, std::uint32_t y) {
    std::ptrdiff_t const row = DescriptionOf(frame).GetPlanHeight(plane, y);
    return row * frame.linesize[plane] + av_image_get_linesize(FormatOf(frame), static_cast<int>(x), plane);
}

} // namespace

Conf::PixFmtDescription const& DescriptionOf(AVFrame const& frame) {
    return Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format));
}

SafeFrame OpenPicture(IDataVideo const& data, Core::Site const& site) {
    AVFrame const& frame = Details::GetAVFrameRef(data.GetAVFrame());
    Conf::FrameInfo const info = data.GetFrameInfo();
    std::string fault = FindFrameFault(data, frame, "Frame");
    if (fault.empty() && (info.width == 0 || info.height == 0))
        fault = fmt::format("Frame is said to be of {}x{} pixels", info.width, info.height);
    if (!fault.empty())
        Core::Throw<EffectException>(site, fault);
    SafeFrame picture = SafeFrame::Reference(frame);
    picture->width = static_cast<int>(info.width);
    picture->height = static_cast<int>(info.height);
    SetFrameColorSpace(*picture, data.GetColorSpace());
    return picture;
}

SafeFrame ViewRegion(AVFrame const& frame, PictureRegion const& region) {
    SafeFrame view = SafeFrame::Reference(frame);
    for (int plane = 0; plane < DescriptionOf(frame).GetPlaneCount(); ++plane)
        view->data[plane] += OffsetInPlane(*view, plane, region.x, region.y);
    view->width = static_cast<int>(region.width);
    view->height = static_cast<int>(region.height);
    return view;
}

void CopyInto(AVFrame const& picture, AVFrame& whole, std::uint32_t x, std::uint32_t y) {
    auto const& format = DescriptionOf(picture);
    for (int plane = 0; plane < format.GetPlaneCount(); ++plane) {
        int const rowBytes = av_image_get_linesize(FormatOf(picture), picture.width, plane);
        auto const rows = format.GetPlanHeight(plane, static_cast<std::uint32_t>(picture.height));
        av_image_copy_plane(whole.data[plane] + OffsetInPlane(whole, plane, x, y), whole.linesize[plane],
                            picture.data[plane], picture.linesize[plane], rowBytes, static_cast<int>(rows));
    }
}

} // namespace Tarsel::Proc
