#include "Tools/Tarsel/Arguments/EncoderArguments.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace Tarsel::Tools {

void EncoderArguments::AddTo(CLI::App& command) {
    command
        .add_option(fmt::format("--{}-codec", medium), name,
                    fmt::format("FFmpeg encoder for {}, such as {}", medium, exampleName))
        ->option_text("NAME");
    command
        .add_option(fmt::format("--{}-option", medium), texts,
                    fmt::format("Option for that encoder, such as {}", exampleOption))
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
}

std::vector<std::pair<std::string, std::string>> EncoderArguments::MakeOptions() const {
    std::vector<std::pair<std::string, std::string>> options;
    for (std::string const& text : texts) {
        std::size_t const sign = text.find('=');
        if (sign == std::string::npos || sign == 0)
            Core::Throw<UsageException>(fmt::format("--{}-option: give KEY=VALUE, such as {}, not \"{}\"",
                                                    medium, exampleOption, text));
        options.emplace_back(text.substr(0, sign), text.substr(sign + 1));
    }
    return options;
}

} // namespace Tarsel::Tools
