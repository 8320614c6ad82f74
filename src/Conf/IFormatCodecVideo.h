#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/DisplayMatrix.h"
#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Property.h"
#include "Core/RefCount.h"

namespace Tarsel::Conf {

/// The description of a video stream that effects are asked about and answer in. It is a property tree too:
/// its child TAG_FPS holds the frame rate as a ratio (frames a second), 0/1 where it is not known. The
/// effects rotate, color-balance and smart-blur, and others on their base, throw PropertyException for a
/// description without that child. Not synchronized; setters throw nothing.
class TARSEL_API IFormatCodecVideo : public Core::IRefCountable, public Core::Property {
public:
    static constexpr char const* TAG_FPS = "fps";

    virtual PixFmt GetPixelFormat() const = 0;
    virtual void SetPixelFormat(PixFmt format) = 0;
    virtual FrameInfo GetFrameInfo() const = 0;
    /// Pixels and pixel aspect; an aspect with a zero in it is stored as 0/1, unknown.
    virtual void InitByPixelAspect(std::uint32_t width, std::uint32_t height, std::uint32_t aspectNum,
                                   std::uint32_t aspectDen) = 0;
    /// DisplayMatrix::s_default when there is none.
    virtual DisplayMatrix GetDisplayMatrix() const = 0;
    virtual void SetDisplayMatrix(DisplayMatrix const& matrix) = 0;
    virtual bool ExistsDisplayMatrix() const = 0;
    virtual ColorSpace GetColorSpace() const = 0;
    virtual void SetColorSpace(ColorSpace const& space) = 0;
};

} // namespace Tarsel::Conf
