#include "Proc/Wrappers/AVFrameWrapper.h"

#include "Proc/Wrappers/FrameFields.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

AVFrameWrapper::AVFrameWrapper(AVFrame const* frame)
    : m_frame(SafeFrame::Reference(Details::GetAVFrameRef(frame))) {}

void AVFrameWrapper::SetSize(std::uint32_t width, std::uint32_t height) noexcept {
    m_frame->width = static_cast<int>(width);
    m_frame->height = static_cast<int>(height);
}

void AVFrameWrapper::SetTime(std::int64_t time) noexcept {
    m_frame->pts = time;
}

void AVFrameWrapper::SetDuration(std::int64_t duration) noexcept {
    SetFrameDuration(*m_frame, duration);
}

} // namespace Tarsel::Proc
