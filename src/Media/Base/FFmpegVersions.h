#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/SampleFormats.h"
#include "Core/Ratio.h"

#include <cstdint>
#include <span>
#include <vector>

extern "C" {
#include <libavcodec/packet.h>
#include <libavutil/pixfmt.h>
}

struct AVCodec;
struct AVCodecContext;
struct AVFrame;
struct AVStream;

namespace Tarsel::Media {

/// What differs between the FFmpeg releases supported (5.1 to 7.1), and nothing else.

/// Side data of a whole stream; empty when there is none. Valid until the stream's side data change.
std::span<std::uint8_t const> GetSideData(AVStream const& stream, AVPacketSideDataType type) noexcept;
/// Adds side data to a stream, replacing those of the type. Any thread that owns the stream. MemoryException.
void SetSideData(AVStream& stream, AVPacketSideDataType type, std::span<std::uint8_t const> data);
void RemoveSideData(AVStream& stream, AVPacketSideDataType type);
/// Adds all that avcodec_parameters_copy leaves out. MemoryException.
void CopySideData(AVStream const& from, AVStream& to);
/// Adds all that avcodec_parameters_from_context leaves out. MemoryException.
void CopySideData(AVCodecContext const& from, AVStream& to);

/// The pixel formats an encoder takes; empty when it does not say.
std::vector<AVPixelFormat> GetPixelFormats(AVCodec const& encoder);

/// The frame rates an encoder takes; empty when it does not say, or takes any.
std::vector<Ratio> GetFrameRates(AVCodec const& encoder);

/// What an encoder takes of audio: sample formats, rates and channel layouts. Each empty when it does not
/// say.
std::vector<Conf::SampleFormats> GetSampleFormats(AVCodec const& encoder);
std::vector<std::int32_t> GetSampleRates(AVCodec const& encoder);
std::vector<Conf::ChannelLayout> GetChannelLayouts(AVCodec const& encoder);

} // namespace Tarsel::Media
