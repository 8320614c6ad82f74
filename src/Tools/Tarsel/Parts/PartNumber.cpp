#include "Tools/Tarsel/Parts/PartNumber.h"

#include "Core/Text.h"

#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

/// More parts than films have key frames in an hour.
constexpr int s_mostParts = 100000;

} // namespace

std::optional<PartNumber> ParsePartNumber(std::string const& text) {
    std::size_t const slash = text.find('/');
    if (slash == std::string::npos)
        return std::nullopt;
    auto const number = Core::TextToInt64(text.substr(0, slash));
    auto const count = Core::TextToInt64(text.substr(slash + 1));
    if (!number || !count || *number < 1 || *number > *count || *count > s_mostParts)
        return std::nullopt;
    return PartNumber{static_cast<int>(*number), static_cast<int>(*count)};
}

std::string CheckPartNumber(std::string const& text) {
    return ParsePartNumber(text)
               ? ""
               : fmt::format("give K/N, part K from 1 to N of N parts (at most {}), such as "
                             "3/10, not \"{}\"",
                             s_mostParts, text);
}

std::string ToText(PartNumber const& part) {
    return fmt::format("part {} of {}", part.number, part.count);
}

} // namespace Tarsel::Tools
