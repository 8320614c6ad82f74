#pragma once

#include "Media/Container/Demuxer.h"
#include "Media/Range/Span.h"

#include <string>

namespace Tarsel::Media {

/// Why the packets of the video that lie in the span are no stream of their own; "" when they are: then it
/// begins with a key frame and none of them needs one that lies outside. Reads in the file, which has been
/// opened and stays as it is. InputException, Stopped.
std::string DescribeCutObstacle(Demuxer const& input, Span const& span);

} // namespace Tarsel::Media
