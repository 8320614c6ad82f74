#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace Tarsel::Media {

/// What FFmpeg says of an AVERROR: "Invalid data found when processing input".
std::string GetErrorText(int error);
/// What the system says of an errno value: "Permission denied".
std::string GetSystemErrorText(int error);
/// The path as messages show it, in quotes.
std::string Quote(std::filesystem::path const& path);
/// A number of microseconds as seconds: "1.04 s".
std::string SecondsText(std::int64_t microseconds);
/// FFmpeg's name of a pixel format, or its number.
std::string PixelFormatText(int format);
/// "3 damaged packets were", "1 damaged packet was": a count, its noun and its verb.
std::string CountText(std::int64_t count, std::string const& noun);

} // namespace Tarsel::Media
