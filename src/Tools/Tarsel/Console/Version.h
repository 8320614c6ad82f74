#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {

/// This program's version and, a line each, those of the FFmpeg libraries that the process has loaded; no
/// line feed at the end.
std::string DescribeVersion();

/// Name and version of this program ("tarsel") and of those libraries, "libavcodec" and "59.37.100".
std::vector<std::pair<std::string, std::string>> ListVersions();

} // namespace Tarsel::Tools
