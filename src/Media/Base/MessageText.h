#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace Tarsel::Media {

/// Pieces of messages, beside FFmpeg's own words (Proc/Wrappers/FFmpegText.h). Any thread.

/// What the system says of an errno value: "Permission denied".
std::string GetSystemErrorText(int error);
/// The path as messages show it, in quotes.
std::string Quote(std::filesystem::path const& path);
/// A number of microseconds as seconds: "1.04 s".
std::string SecondsText(std::int64_t microseconds);
/// "3 damaged packets", "1 damaged packet".
std::string CountText(std::int64_t count, std::string const& noun);

} // namespace Tarsel::Media
