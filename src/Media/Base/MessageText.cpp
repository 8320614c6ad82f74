#include "Media/Base/MessageText.h"

#include <fmt/format.h>

#include <system_error>

namespace Tarsel::Media {

std::string GetSystemErrorText(int error) {
    return std::generic_category().message(error);
}

std::string Quote(std::filesystem::path const& path) {
    return "\"" + path.string() + "\"";
}

std::string SecondsText(std::int64_t microseconds) {
    return fmt::format("{} s", static_cast<double>(microseconds) / 1e6);
}

std::string CountText(std::int64_t count, std::string const& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

} // namespace Tarsel::Media
