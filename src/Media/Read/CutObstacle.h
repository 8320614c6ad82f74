#pragma once

#include "Media/Range/Span.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace Tarsel::Media {

/// Why the packets of the video that lie in the span are no stream of their own; "" when they are: then it
/// begins with a key frame and none of them needs one that lies outside. Reads in the file. InputException,
/// Stopped.
std::string DescribeCutObstacle(std::filesystem::path const& path, Span const& span, std::stop_token stop);

} // namespace Tarsel::Media
