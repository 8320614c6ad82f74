#include "Proc/Wrappers/SafeFrame.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Proc {

namespace {

constexpr char const* s_safeTypesFile = "Proc/Wrappers/SafeTypes";
constexpr char const* s_scaler = "Proc/Wrappers/SafeSwsContext";

bool IsAudio(AVFrame const& frame) noexcept {
    return frame.nb_samples > 0;
}

/// Bytes of the frame's pixels or samples; 0 where that cannot be told.
unsigned ContentSize(AVFrame const& frame) noexcept {
    int const size =
        IsAudio(frame)
            ? av_samples_get_buffer_size(nullptr, frame.ch_layout.nb_channels, frame.nb_samples,
                                         Conf::ToAVSampleFormat(frame.format), 1)
            : av_image_get_buffer_size(Conf::ToAVPixelFormat(frame.format), frame.width, frame.height, 1);
    return static_cast<unsigned>(std::max(size, 0));
}

[[noreturn]] void ThrowNoBuffers(char const* signature, unsigned size,
                                 Core::CodePoint at = Core::CodePoint::Here()) {
    Core::Throw<Core::MemoryException>({s_safeTypesFile, signature, at},
                                       "Unable to allocate memory for AVFrame buffers",
                                       Core::MemoryException::TagBlockSize(size));
}

/// In software, and of a size that FFmpeg can address.
bool CanBePicture(Conf::PixFmt format, std::uint32_t width, std::uint32_t height) noexcept {
    constexpr std::uint32_t largest = std::numeric_limits<int>::max();
    return width <= largest && height <= largest &&
           av_image_get_linesize(Conf::ToAVPixelFormat(format), static_cast<int>(width), 0) > 0 &&
           av_image_check_size2(width, height, std::numeric_limits<std::int64_t>::max(),
                                Conf::ToAVPixelFormat(format), 0, nullptr) >= 0;
}

} // namespace

SafeFrame::SafeFrame() : m_frame(av_frame_alloc()) {
    if (m_frame == nullptr)
        Core::Throw<Core::MemoryException>({s_safeTypesFile, "Tarsel::Proc::SafeFrame::SafeFrame()"},
                                           "Unable to allocate memory for AVFrame struct",
                                           Core::MemoryException::TagBlockSize(sizeof(AVFrame)));
}

SafeFrame::SafeFrame(Conf::ColorSpace const& space, Conf::PixFmt format, std::uint32_t width,
                     std::uint32_t height, std::uint32_t aspectNum, std::uint32_t aspectDen)
    : SafeFrame() {
    if (!CanBePicture(format, width, height))
        Core::Throw<EffectException>(
            {s_safeTypesFile, "Tarsel::Proc::SafeFrame::SafeFrame(const Conf::ColorSpace &, Conf::PixFmt, "
                              "std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t)"},
            fmt::format("Cannot make a frame of {}x{} pixels in pixel format {}", width, height,
                        static_cast<std::int32_t>(format)));
    m_frame->format = static_cast<int>(format);
    m_frame->width = static_cast<int>(width);
    m_frame->height = static_cast<int>(height);
    SetFrameColorSpace(*m_frame, space);
    SetFramePixelAspect(*m_frame, aspectNum, aspectDen);
    AllocateBuffers();
}

SafeFrame& SafeFrame::operator=(SafeFrame&& other) noexcept {
    std::swap(m_frame, other.m_frame);
    return *this;
}

SafeFrame::~SafeFrame() {
    av_frame_free(&m_frame);
}

SafeFrame SafeFrame::Reference(AVFrame const& frame) {
    Details::RequireWholeRows(frame);
    SafeFrame result;
    int const error = av_frame_ref(result.Get(), &frame);
    if (error == AVERROR(ENOMEM))
        ThrowNoBuffers("static SafeFrame Tarsel::Proc::SafeFrame::Reference(const AVFrame &)",
                       ContentSize(frame));
    if (error < 0)
        Core::Throw<ProcException>(
            {s_safeTypesFile, "static SafeFrame Tarsel::Proc::SafeFrame::Reference(const AVFrame &)"},
            "AVFrame holds neither video nor audio", TagFFmpegError(error));
    return result;
}

void SafeFrame::AllocateBuffers() {
    unsigned const size = ContentSize(*m_frame); // its fields are gone when it fails
    int const error = av_frame_get_buffer(m_frame, 0);
    if (error == AVERROR(ENOMEM))
        ThrowNoBuffers("void Tarsel::Proc::SafeFrame::AllocateBuffers()", size);
    if (error < 0)
        Core::Throw<EffectException>({s_safeTypesFile, "void Tarsel::Proc::SafeFrame::AllocateBuffers()"},
                                     "AVFrame describes neither video nor audio", TagFFmpegError(error));
}

void SafeFrame::CopyProperties(AVFrame const& from) {
    if (av_frame_copy_props(m_frame, &from) < 0)
        Core::Throw<Core::MemoryException>(
            {s_safeTypesFile, "void Tarsel::Proc::SafeFrame::CopyProperties(const AVFrame &)"},
            "Unable to allocate memory for AVFrame properties");
}

void SafeFrame::MakeWritable() {
    if (m_frame->buf[0] == nullptr) {
        *this = Reference(*m_frame);
        return;
    }
    Details::RequireWholeRows(*m_frame);
    int const error = av_frame_make_writable(m_frame);
    if (error == AVERROR(ENOMEM))
        ThrowNoBuffers("void Tarsel::Proc::SafeFrame::MakeWritable()", ContentSize(*m_frame));
    if (error < 0)
        Core::Throw<ProcException>({s_safeTypesFile, "void Tarsel::Proc::SafeFrame::MakeWritable()"},
                                   "AVFrame cannot be made writable", TagFFmpegError(error));
}

AVFrame* SafeFrame::Release() noexcept {
    return std::exchange(m_frame, nullptr);
}

namespace Details {

AVFrame const& GetAVFrameRef(AVFrame const* frame) {
    if (frame == nullptr)
        Core::Throw<ProcException>(
            {s_scaler, "const AVFrame &Tarsel::Proc::Details::GetAVFrameRef(const AVFrame *)"},
            "AVFrame pointer is null");
    return *frame;
}

AVFrame& GetAVFrameRef(AVFrame* frame) {
    if (frame == nullptr)
        Core::Throw<ProcException>({s_scaler, "AVFrame &Tarsel::Proc::Details::GetAVFrameRef(AVFrame *)"},
                                   "AVFrame pointer is null");
    return *frame;
}

void RequireWholeRows(AVFrame const& frame) {
    if (IsAudio(frame))
        return;
    for (int plane = 0; plane < AV_NUM_DATA_POINTERS && frame.data[plane] != nullptr; ++plane) {
        int const bytes = av_image_get_linesize(Conf::ToAVPixelFormat(frame.format), frame.width, plane);
        std::int64_t const stride = frame.linesize[plane];
        if (bytes > 0 && std::abs(stride) < bytes)
            Core::Throw<ProcException>(
                fmt::format("Plane {} of an AVFrame has {} bytes for each row of {}", plane, stride, bytes));
    }
}

} // namespace Details
} // namespace Tarsel::Proc
