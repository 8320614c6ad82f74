#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Core/Ratio.h"

#include <optional>

namespace Tarsel::Conf {

/// The host's own IFormatCodecVideo: plain storage.
class TARSEL_API FormatCodecVideo : public Core::RefCounted<IFormatCodecVideo> {
public:
    /// No format yet; the frame rate is 0/1, unknown.
    FormatCodecVideo();
    /// The frame rate is stored under TAG_FPS.
    FormatCodecVideo(PixFmt format, FrameInfo const& info, Ratio frameRate = {});

    PixFmt GetPixelFormat() const override;
    void SetPixelFormat(PixFmt format) override;
    FrameInfo GetFrameInfo() const override;
    void InitByPixelAspect(std::uint32_t width, std::uint32_t height, std::uint32_t aspectNum,
                           std::uint32_t aspectDen) override;
    DisplayMatrix GetDisplayMatrix() const override;
    void SetDisplayMatrix(DisplayMatrix const& matrix) override;
    bool ExistsDisplayMatrix() const override;
    ColorSpace GetColorSpace() const override;
    void SetColorSpace(ColorSpace const& space) override;

private:
    PixFmt m_format = PixFmt::None;
    FrameInfo m_info;
    ColorSpace m_space;
    std::optional<DisplayMatrix> m_matrix;
};

} // namespace Tarsel::Conf
