#include "Proc/Data/DataVideoFF.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

namespace Tarsel::Proc {

namespace {

/// Plane `index` of what lies both in the frame and in the picture it is said to hold; nothing where the
/// format has no such plane.
std::optional<ReadOnlyPlane> FindPlane(AVFrame const& frame, Conf::FrameInfo const& info, int index) {
    if (index < 0 || index >= AV_NUM_DATA_POINTERS || frame.data[index] == nullptr)
        return std::nullopt;
    auto const& format = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format));
    if (index >= format.GetPlaneCount())
        return std::nullopt;
    auto const width = std::min(static_cast<std::uint32_t>(std::max(frame.width, 0)), info.width);
    auto const height = std::min(static_cast<std::uint32_t>(std::max(frame.height, 0)), info.height);
    int const rowBytes =
        av_image_get_linesize(Conf::ToAVPixelFormat(frame.format), static_cast<int>(width), index);
    return ReadOnlyPlane{frame.data[index], frame.linesize[index],
                         static_cast<std::size_t>(std::max(rowBytes, 0)),
                         format.GetPlanHeight(index, height)};
}

} // namespace

DataVideoFF::DataVideoFF(AVFrame const& frame, Conf::FrameInfo const& info)
    : DataVideoFF(SafeFrame::Reference(frame), info) {}

DataVideoFF::DataVideoFF(SafeFrame&& frame, Conf::FrameInfo const& info) noexcept
    : m_frame(std::move(frame)), m_info(Conf::WithDefinedAspect(info)) {
    // One truth: filters go by the frame, hosts by the info.
    SetFramePixelAspect(*m_frame, m_info.aspectNum, m_info.aspectDen);
}

DataVideoFF::DataVideoFF(Conf::ColorSpace const& space, Conf::PixFmt format, Conf::FrameInfo const& info)
    : DataVideoFF(SafeFrame(space, format, info.width, info.height, info.aspectNum, info.aspectDen), info) {
    m_frame->pts = 0;
}

SP<DataVideoFF> DataVideoFF::CreateLike(IDataVideo const& model, Conf::ColorSpace const& space,
                                        Conf::PixFmt format, Conf::FrameInfo const& info) {
    SafeFrame frame(space, format, info.width, info.height, info.aspectNum, info.aspectDen);
    frame.CopyProperties(Details::GetAVFrameRef(model.GetAVFrame()));
    SetFrameColorSpace(*frame, space);
    auto data = MakeSP<DataVideoFF>(std::move(frame), info);
    data->SetTime(model.GetTime());
    data->SetDuration(model.GetDuration());
    return data;
}

std::int64_t DataVideoFF::GetTime() const {
    return m_frame->pts;
}

void DataVideoFF::SetTime(std::int64_t microseconds) {
    m_frame->pts = microseconds;
}

std::int64_t DataVideoFF::GetDuration() const {
    return GetFrameDuration(*m_frame);
}

void DataVideoFF::SetDuration(std::int64_t microseconds) {
    SetFrameDuration(*m_frame, microseconds);
}

Conf::FrameInfo DataVideoFF::GetFrameInfo() const {
    return m_info;
}

Conf::PixFmt DataVideoFF::GetPixelFormat() const {
    return static_cast<Conf::PixFmt>(m_frame->format);
}

Conf::ColorSpace DataVideoFF::GetColorSpace() const {
    return GetFrameColorSpace(*m_frame);
}

void DataVideoFF::SetPixelAspect(std::uint32_t num, std::uint32_t den) {
    m_info = Conf::WithDefinedAspect({m_info.width, m_info.height, num, den});
    SetFramePixelAspect(*m_frame, num, den);
}

AVFrame const* DataVideoFF::GetAVFrame() const {
    return m_frame.Get();
}

AVFrame* DataVideoFF::GetAVFrame() {
    return m_frame.Get();
}

SP<IDataVideo> DataVideoFF::Copy() const {
    return MakeSP<DataVideoFF>(*m_frame, m_info);
}

ReadOnlyPlane DataVideoFF::GetReadOnlyPlane(int index) const {
    std::optional<ReadOnlyPlane> const plane = FindPlane(*m_frame, m_info, index);
    if (!plane)
        Core::Throw<ProcException>(
            fmt::format("A frame in pixel format {} has no plane {}", m_frame->format, index));
    return *plane;
}

WritablePlane DataVideoFF::GetWritablePlane(int index) {
    GetReadOnlyPlane(index); // before anything is copied for nothing
    m_frame.MakeWritable();
    ReadOnlyPlane const plane = GetReadOnlyPlane(index);
    return {m_frame->data[index], plane.lineSize, plane.rowBytes, plane.rows};
}

} // namespace Tarsel::Proc
