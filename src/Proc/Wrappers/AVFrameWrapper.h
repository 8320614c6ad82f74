#pragma once

#include "Core/Api.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Another reference to a frame's buffers: time and size can be set on it without changing the frame itself.
class TARSEL_API AVFrameWrapper {
public:
    /// References the buffers as SafeFrame::Reference. ProcException "AVFrame pointer is null",
    /// MemoryException.
    explicit AVFrameWrapper(AVFrame const* frame);

    void SetSize(std::uint32_t width, std::uint32_t height) noexcept;
    /// In the time base of whoever takes the frame; microseconds throughout this library.
    void SetTime(std::int64_t time) noexcept;
    void SetDuration(std::int64_t duration) noexcept;

    AVFrame* Get() noexcept { return m_frame.Get(); }

private:
    SafeFrame m_frame;
};

} // namespace Tarsel::Proc
