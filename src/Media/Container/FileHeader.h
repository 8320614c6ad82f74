#pragma once

extern "C" {
#include <libavutil/rational.h>
}

struct AVCodecParameters;
struct AVFormatContext;
struct AVOutputFormat;
struct AVPacket;
struct AVStream;

namespace Tarsel::Media {

/// Writes the header of an output into its file, or pipe, which its `pb` is. Returns 0 or more, or an
/// AVERROR. The thread that owns the context.
int WriteHeader(AVFormatContext& context);

/// The same into memory, which is dropped: whether a container's writer takes streams it alone knows,
/// whatever is said of it. `isPiped`: as into a pipe. The context serves for nothing else afterwards.
/// MemoryException.
int TryHeader(AVFormatContext& context, bool isPiped);

/// Whether the writer takes a stream, alone. `frameRate` may be 0/0 where none is known. Any thread.
/// MemoryException.
bool TakesAlone(AVOutputFormat const& format, AVCodecParameters const& parameters, AVRational timeBase,
                AVRational frameRate);
/// A stream of an input, as it is.
bool TakesAlone(AVOutputFormat const& format, AVStream const& stream);
/// The same, and a packet of it: some writers look into the packets only.
bool TakesPacket(AVOutputFormat const& format, AVStream const& stream, AVPacket const& packet);

} // namespace Tarsel::Media
