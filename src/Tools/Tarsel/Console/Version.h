#pragma once

#include <string>

namespace Tarsel::Tools {

/// This program's version and, a line each, those of the FFmpeg libraries that the process has loaded; no
/// line feed at the end.
std::string DescribeVersion();

} // namespace Tarsel::Tools
