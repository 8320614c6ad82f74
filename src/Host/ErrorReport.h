#pragma once

#include "Core/Api.h"

#include <exception>
#include <string>

namespace Tarsel::Host {

/// An exception as one or a few lines for people: the step where it is known, the description, then on lines
/// of their own FFmpeg's error, the filter text that was tried, details, and what FFmpeg logged about it
/// where FFmpegMessages listened. No stack. Any exception; never throws anything but std::bad_alloc. Any
/// thread.
TARSEL_API std::string DescribeError(std::exception const& exception);

/// The same with throw site and call stack, for --verbose and bug reports.
TARSEL_API std::string DescribeErrorFully(std::exception const& exception);

} // namespace Tarsel::Host
