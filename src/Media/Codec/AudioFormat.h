#pragma once

#include "Conf/SampleInfo.h"
#include "Media/StreamInfo.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct AVCodecParameters;
struct AVStream;

namespace Tarsel::Media {

/// Formats of audio: what streams have and what encoders get. Pure; any thread.

/// What the parameters say of decoded audio. One or two channels without a mask are mono or stereo.
Conf::SampleInfo GetSampleInfo(AVCodecParameters const& parameters) noexcept;

/// Bits of a sample that carry audio: those of a codec without loss, 16 for others, whose noise hides more.
int GetDepth(AVCodecParameters const& parameters) noexcept;
/// The same for blocks that come from no codec.
int GetDepth(Conf::SampleFormats format) noexcept;

/// Bits of an integer that the format holds exactly.
int GetExactBits(Conf::SampleFormats format) noexcept;

/// Whether audio of one is audio of the other, but for the name of the channels where either does not know
/// it.
bool IsSameAudio(Conf::SampleInfo const& a, Conf::SampleInfo const& b) noexcept;

/// That of `legal` (empty: any) nearest to `wanted`: itself or the same type in the other order of channels,
/// else the shortest that loses nothing, else the one that loses least. Of real numbers `depth` bits count
/// where integers have to do.
Conf::SampleFormats ChooseSampleFormat(std::span<Conf::SampleFormats const> legal, Conf::SampleFormats wanted,
                                       int depth);

/// That of `legal` (empty: any) next to `wanted` and not below it, else the highest.
std::int32_t ChooseSampleRate(std::span<std::int32_t const> legal, std::int32_t wanted);

/// Those of `legal` (empty: it is not told) to try for audio of layout `wanted`, best first: itself, then as
/// many channels, then more, then fewer.
std::vector<Conf::ChannelLayout> RankLayouts(std::span<Conf::ChannelLayout const> legal,
                                             Conf::ChannelLayout const& wanted);

/// What callers are told of an audio stream, whose decoded blocks have the format. Any thread that may read
/// the stream.
AudioStreamInfo DescribeAudio(AVStream const& stream, int number, Conf::SampleInfo const& format,
                              std::string copyObstacle);

} // namespace Tarsel::Media
