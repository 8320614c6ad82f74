#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/SampleFormats.h"
#include "Core/Api.h"

#include <cstdint>

struct AVChannelLayout;

namespace Tarsel::Conf {

/// This host's formats as FFmpeg's numbers and back. None fails; what has no counterpart becomes the
/// "unknown" of the other side (−1, SampleFormats::Unknown). Any thread.

/// An AVSampleFormat.
TARSEL_API int SampleFormatFFMPEGFromTarsel(SampleFormats format) noexcept;
TARSEL_API SampleFormats SampleFormatTarselFromFFMPEG(int format) noexcept;

/// The layout's mask; for a layout without one, FFmpeg's default mask of that many channels (0 where it has
/// none).
TARSEL_API std::uint64_t AVChannelLayoutMaskFromTarsel(ChannelLayout const& layout) noexcept;
TARSEL_API ChannelLayout TarselFromAVChannelLayout(AVChannelLayout const& layout) noexcept;
/// Nothing in it is on the heap: it may be dropped without av_channel_layout_uninit.
TARSEL_API AVChannelLayout AVChannelLayoutFromTarsel(ChannelLayout const& layout) noexcept;

} // namespace Tarsel::Conf
