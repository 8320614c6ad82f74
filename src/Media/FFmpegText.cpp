#include "Media/FFmpegText.h"

#include <fmt/format.h>

#include <array>
#include <system_error>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

std::string GetErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

std::string GetSystemErrorText(int error) {
    return std::generic_category().message(error);
}

std::string Quote(std::filesystem::path const& path) {
    return "\"" + path.string() + "\"";
}

std::string SecondsText(std::int64_t microseconds) {
    return fmt::format("{} s", static_cast<double>(microseconds) / 1e6);
}

std::string PixelFormatText(int format) {
    char const* const name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format));
    return name != nullptr ? std::string(name) : fmt::format("format {}", format);
}

std::string CountText(std::int64_t count, std::string const& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? " was" : "s were");
}

} // namespace Tarsel::Media
