#pragma once

#include "Media/SoundLane.h"

#include <string>

struct AVStream;

namespace Tarsel::Media {

/// What callers are told of a sound stream, whose decoded blocks have the format. Any thread that may read
/// the stream.
SoundStreamInfo DescribeSound(AVStream const& stream, int number, Conf::SampleInfo const& format,
                              std::string copyObstacle);

} // namespace Tarsel::Media
