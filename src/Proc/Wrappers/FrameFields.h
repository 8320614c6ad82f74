#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/FrameInfo.h"
#include "Conf/SampleInfo.h"
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

/// How the rows came to be: all at once, or as two fields, of which the top one or the bottom one is first.
enum class FieldOrder : std::uint8_t { Progressive, TopFirst, BottomFirst };
TARSEL_API FieldOrder GetFrameFieldOrder(AVFrame const& frame) noexcept;
TARSEL_API void SetFrameFieldOrder(AVFrame& frame, FieldOrder order) noexcept;

/// Format, rate and layout of audio.
TARSEL_API Conf::SampleInfo GetFrameSampleInfo(AVFrame const& frame) noexcept;
/// For frames whose layout is not on the heap, as in any new one.
TARSEL_API void SetFrameSampleInfo(AVFrame& frame, Conf::SampleInfo const& info) noexcept;
/// Whether there is memory behind every sample that the block says it has.
TARSEL_API bool HasSamples(AVFrame const& block) noexcept;

} // namespace Tarsel::Proc
