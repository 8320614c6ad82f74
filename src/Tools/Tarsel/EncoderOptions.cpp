#include "Tools/Tarsel/EncoderOptions.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/UsageException.h"

#include <fmt/format.h>

namespace Tarsel::Tools {

std::vector<std::pair<std::string, std::string>>
ParseEncoderOptions(std::vector<std::string> const& texts, char const* option, char const* example) {
    std::vector<std::pair<std::string, std::string>> options;
    for (std::string const& text : texts) {
        std::size_t const sign = text.find('=');
        if (sign == std::string::npos || sign == 0)
            Core::Throw<UsageException>(
                fmt::format("{}: give KEY=VALUE, such as {}, not \"{}\"", option, example, text));
        options.emplace_back(text.substr(0, sign), text.substr(sign + 1));
    }
    return options;
}

} // namespace Tarsel::Tools
