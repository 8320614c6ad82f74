#include "Proc/Wrappers/FrameRoom.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/cpu.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

/// The least that FFmpeg leaves behind a plane, in the pools of its decoders.
constexpr std::ptrdiff_t s_room = 31;

/// Rows of a plane; the last one in memory is the first for a picture stored bottom up.
bool HasRoom(AVFrame const& frame, int plane, std::ptrdiff_t rowBytes, int rows) noexcept {
    // The function has no use for a frame that it could change.
    AVBufferRef const* const buffer = av_frame_get_plane_buffer(const_cast<AVFrame*>(&frame), plane);
    if (buffer == nullptr)
        return false;
    std::ptrdiff_t const lineSize = frame.linesize[plane];
    std::uint8_t const* const lastRow = frame.data[plane] + (lineSize > 0 ? lineSize * (rows - 1) : 0);
    return buffer->data + buffer->size - (lastRow + rowBytes) >= s_room;
}

/// Bytes: as much as encoders load at once, and no more than FFmpeg gives its own pictures.
int GetAlignment() noexcept {
    static auto const s_alignment = static_cast<int>(std::min<std::size_t>(av_cpu_max_align(), 32));
    return s_alignment;
}

bool IsAligned(AVFrame const& frame, int plane) noexcept {
    int const alignment = GetAlignment();
    return frame.linesize[plane] > 0 && frame.linesize[plane] % alignment == 0 &&
           reinterpret_cast<std::uintptr_t>(frame.data[plane]) % static_cast<std::size_t>(alignment) == 0;
}

} // namespace

bool HasRoomBehind(AVFrame const& frame) noexcept {
    auto const format = Conf::ToAVPixelFormat(frame.format);
    AVPixFmtDescriptor const* const description = av_pix_fmt_desc_get(format);
    if (description == nullptr)
        return true; // nobody reads its rows
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        bool const isChroma = plane == 1 || plane == 2;
        int const rows = isChroma ? AV_CEIL_RSHIFT(frame.height, description->log2_chroma_h) : frame.height;
        int const rowBytes = av_image_get_linesize(format, frame.width, plane);
        if (rowBytes > 0 && frame.data[plane] != nullptr && !HasRoom(frame, plane, rowBytes, rows))
            return false;
    }
    return true;
}

SafeFrame CopyWithRoomBehind(AVFrame const& frame) {
    Details::RequireWholeRows(frame);
    SafeFrame copy;
    copy->format = frame.format;
    copy->width = frame.width;
    copy->height = frame.height;
    copy.CopyProperties(frame);
    copy.AllocateBuffers();
    if (int const error = av_frame_copy(copy.Get(), &frame); error < 0)
        Core::Throw<ProcException>("AVFrame holds no video that can be copied", TagFFmpegError(error));
    return copy;
}

bool IsRegular(AVFrame const& frame) noexcept {
    auto const format = Conf::ToAVPixelFormat(frame.format);
    for (int plane = 0; plane < std::max(av_pix_fmt_count_planes(format), 0); ++plane) {
        bool const hasRows = av_image_get_linesize(format, frame.width, plane) > 0; // a palette has none
        if (hasRows && !IsAligned(frame, plane))
            return false;
    }
    return HasRoomBehind(frame);
}

SafeFrame MakeRegular(AVFrame const& frame) {
    return IsRegular(frame) ? SafeFrame::Reference(frame) : CopyWithRoomBehind(frame);
}

} // namespace Tarsel::Proc
