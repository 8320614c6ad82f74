#pragma once

#include <string>

struct AVPacket;
struct AVStream;

namespace Tarsel::Media {

/// What is wrong with a still picture whose decoder makes up for what is missing, in FFmpeg's words; "" where
/// nothing is, and for codecs whose decoders refuse such pictures themselves. Decodes it once more. Any
/// thread. MemoryException.
std::string DescribeStillDamage(AVStream const& stream, AVPacket const& packet);

} // namespace Tarsel::Media
