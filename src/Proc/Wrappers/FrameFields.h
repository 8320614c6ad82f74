#pragma once

#include "Conf/ColorSpace.h"
#include "Core/Api.h"

#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// Fields of AVFrame whose place differs between the FFmpeg releases supported (5.1 to 7.1). Any thread.
TARSEL_API std::int64_t GetFrameDuration(AVFrame const& frame) noexcept;
TARSEL_API void SetFrameDuration(AVFrame& frame, std::int64_t duration) noexcept;

TARSEL_API Conf::ColorSpace GetFrameColorSpace(AVFrame const& frame) noexcept;
TARSEL_API void SetFrameColorSpace(AVFrame& frame, Conf::ColorSpace const& space) noexcept;

} // namespace Tarsel::Proc
