#pragma once

#include <string_view>

namespace Tarsel::Tools {

/// Readies the three standard descriptors: one that the parent closed is held by /dev/null, so that no media
/// file gets its number, and a reader that went away is an error to be handled, not a signal that kills.
/// Called once, before anything is opened.
void PrepareStandardStreams() noexcept;

/// Writes `text` to standard output. Media::OutputException when it cannot be written; a reader that has
/// closed the pipe has seen enough, which is no failure.
void WriteOutput(std::string_view text);

} // namespace Tarsel::Tools
