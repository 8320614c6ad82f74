#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/FrameInfo.h"
#include "Core/Api.h"

#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// Fields of AVFrame in this host's terms, the same for every FFmpeg release supported (5.1 to 7.1). Any
/// thread.

/// The geometry: width, height and the aspect of a pixel, 0/1 when unknown.
TARSEL_API Conf::FrameInfo GetFrameInfo(AVFrame const& frame) noexcept;

TARSEL_API std::int64_t GetFrameDuration(AVFrame const& frame) noexcept;
TARSEL_API void SetFrameDuration(AVFrame& frame, std::int64_t duration) noexcept;

TARSEL_API Conf::ColorSpace GetFrameColorSpace(AVFrame const& frame) noexcept;
TARSEL_API void SetFrameColorSpace(AVFrame& frame, Conf::ColorSpace const& space) noexcept;

/// An aspect with a zero in it becomes 0/1, unknown; terms too large for FFmpeg become the nearest that fit.
TARSEL_API void SetFramePixelAspect(AVFrame& frame, std::uint32_t num, std::uint32_t den) noexcept;

} // namespace Tarsel::Proc
