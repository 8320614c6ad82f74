#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Core/Api.h"

#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// Owns an AVFrame. Moves, does not copy. Not synchronized.
class TARSEL_API SafeFrame {
public:
    /// An empty frame. MemoryException "Unable to allocate memory for AVFrame struct" with TagBlockSize.
    SafeFrame();
    /// A picture with buffers of its own, its pixels not set; sizes in pixels, the aspect that of one pixel.
    /// MemoryException when the buffers cannot be had, EffectException when no such picture can exist.
    SafeFrame(Conf::ColorSpace const& space, Conf::PixFmt format, std::uint32_t width, std::uint32_t height,
              std::uint32_t aspectNum, std::uint32_t aspectDen);
    SafeFrame(SafeFrame&& other) noexcept : m_frame(other.m_frame) { other.m_frame = nullptr; }
    SafeFrame& operator=(SafeFrame&& other) noexcept;
    ~SafeFrame();

    AVFrame* Get() noexcept { return m_frame; }
    AVFrame const* Get() const noexcept { return m_frame; }
    AVFrame* operator->() noexcept { return m_frame; }
    AVFrame const* operator->() const noexcept { return m_frame; }
    AVFrame& operator*() noexcept { return *m_frame; }
    AVFrame const& operator*() const noexcept { return *m_frame; }
    /// Another reference to the frame's buffers; pixels or samples are copied only where it has none that are
    /// reference-counted. MemoryException; ProcException for a frame without content, or too short rows.
    static SafeFrame Reference(AVFrame const& frame);
    /// Gives the frame buffers for the picture (format, width, height) or audio (format, nb_samples,
    /// ch_layout) that its fields state. MemoryException, EffectException where they state none.
    void AllocateBuffers();
    /// Takes over what `from` says of its content: times, aspect, colors, side data. MemoryException.
    void CopyProperties(AVFrame const& from);
    /// Gives the frame buffers of its own where it shares them, with the same content. MemoryException;
    /// ProcException for a frame without content, or too short rows.
    void MakeWritable();
    /// Gives the frame away: the caller frees it with av_frame_free.
    AVFrame* Release() noexcept;

private:
    AVFrame* m_frame;
};

namespace Details {

/// The frame itself; ProcException "AVFrame pointer is null" for a null pointer.
TARSEL_API AVFrame const& GetAVFrameRef(AVFrame const* frame);
TARSEL_API AVFrame& GetAVFrameRef(AVFrame* frame);

/// ProcException for a picture with rows shorter than their pixels: FFmpeg ends the process when it is to
/// copy them. Nothing for audio, or a format that FFmpeg does not know.
TARSEL_API void RequireWholeRows(AVFrame const& frame);

} // namespace Details
} // namespace Tarsel::Proc
