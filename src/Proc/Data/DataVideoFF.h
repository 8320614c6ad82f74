#pragma once

#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/SafeFrame.h"

namespace Tarsel::Proc {

/// A picture held in an AVFrame, and with it its time, duration and color space. Planes cover what lies both
/// in the frame and in the stated geometry.
class TARSEL_API DataVideoFF : public Core::RefCounted<IDataVideo> {
public:
    /// Takes a reference to the frame's buffers; the frame itself stays the caller's. Time and duration start
    /// as the frame's own. MemoryException; ProcException for a frame without a picture.
    DataVideoFF(AVFrame const& frame, Conf::FrameInfo const& info);
    /// Takes the frame over, which is not empty-handed (no moved-from SafeFrame).
    DataVideoFF(SafeFrame&& frame, Conf::FrameInfo const& info) noexcept;
    /// Allocates a picture, its pixels not set. MemoryException, EffectException as SafeFrame.
    DataVideoFF(Conf::ColorSpace const& space, Conf::PixFmt format, Conf::FrameInfo const& info);
    /// The same with all else that `model` says of its content: time, duration, side data, interlacing.
    static SP<DataVideoFF> CreateLike(IDataVideo const& model, Conf::ColorSpace const& space,
                                      Conf::PixFmt format, Conf::FrameInfo const& info);

    std::int64_t GetTime() const override;
    void SetTime(std::int64_t microseconds) override;
    std::int64_t GetDuration() const override;
    void SetDuration(std::int64_t microseconds) override;
    Conf::FrameInfo GetFrameInfo() const override;
    Conf::PixFmt GetPixelFormat() const override;
    Conf::ColorSpace GetColorSpace() const override;
    void SetPixelAspect(std::uint32_t num, std::uint32_t den) override;
    AVFrame const* GetAVFrame() const override;
    AVFrame* GetAVFrame() override;
    SP<IDataVideo> Copy() const override;
    ReadOnlyPlane GetReadOnlyPlane(int index) const override;
    WritablePlane GetWritablePlane(int index) override;

private:
    SafeFrame m_frame;
    Conf::FrameInfo m_info;
};

} // namespace Tarsel::Proc
