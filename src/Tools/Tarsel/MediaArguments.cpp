#include "Tools/Tarsel/MediaArguments.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/UsageException.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

std::pair<std::string, std::string> ParseEncoderOption(std::string const& text) {
    std::size_t const sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
        Core::Throw<UsageException>(
            {"Tools/Tarsel/MediaArguments", "std::pair<std::string, std::string> "
                                            "Tarsel::Tools::ParseEncoderOption(const std::string &)"},
            fmt::format("--video-option \"{}\" is not KEY=VALUE, for example crf=18", text));
    return {text.substr(0, sign), text.substr(sign + 1)};
}

} // namespace

void MediaArguments::AddTo(CLI::App& command) {
    command.add_option("INPUT", input, "Film or still picture to read")->required()->option_text(" ");
    command.add_option("OUTPUT", output, "File to write; its name tells the container")
        ->required()
        ->option_text(" ");
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    command.add_option("--video-codec", videoCodec, "FFmpeg encoder to use, as libx264")->option_text("NAME");
    command.add_option("--video-option", videoOptions, "Option of the encoder, as crf=18")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
    command.add_option("--threads", threads, "Threads for all effects, and for each codec")
        ->option_text("N")
        ->check(CLI::Range(1, 1024));
    command.add_flag("--quiet", quiet, "Print nothing but errors");
}

Media::RunOptions MediaArguments::MakeRunOptions() const {
    Media::RunOptions options;
    options.input = input;
    options.output = output;
    options.overwrite = overwrite;
    options.videoEncoder = videoCodec;
    for (std::string const& option : videoOptions)
        options.videoEncoderOptions.push_back(ParseEncoderOption(option));
    return options;
}

} // namespace Tarsel::Tools
