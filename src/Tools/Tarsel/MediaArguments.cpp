#include "Tools/Tarsel/MediaArguments.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/UsageException.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

using EncoderOptions = std::vector<std::pair<std::string, std::string>>;

EncoderOptions ParseEncoderOptions(std::vector<std::string> const& texts, char const* option,
                                   char const* example) {
    EncoderOptions options;
    for (std::string const& text : texts) {
        std::size_t const sign = text.find('=');
        if (sign == std::string::npos || sign == 0)
            Core::Throw<UsageException>(
                {"Tools/Tarsel/MediaArguments",
                 "EncoderOptions Tarsel::Tools::ParseEncoderOptions(const std::vector<std::string> &, const "
                 "char *, const char *)"},
                fmt::format("{} \"{}\" is not KEY=VALUE, for example {}", option, text, example));
        options.emplace_back(text.substr(0, sign), text.substr(sign + 1));
    }
    return options;
}

} // namespace

void MediaArguments::AddTo(CLI::App& command) {
    command.add_option("INPUT", input, "Film, still picture or sound to read")->required()->option_text(" ");
    command.add_option("OUTPUT", output, "File to write; its name tells the container")
        ->required()
        ->option_text(" ");
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    command.add_option("--video-codec", videoCodec, "FFmpeg encoder to use, as libx264")->option_text("NAME");
    command.add_option("--video-option", videoOptions, "Option of the encoder, as crf=18")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
    command.add_option("--audio-codec", audioCodec, "The same for sound, as flac")->option_text("NAME");
    command.add_option("--audio-option", audioOptions, "Option of the sound's encoder, as b=192k")
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
    options.videoEncoderOptions = ParseEncoderOptions(videoOptions, "--video-option", "crf=18");
    options.audioEncoder = audioCodec;
    options.audioEncoderOptions = ParseEncoderOptions(audioOptions, "--audio-option", "b=192k");
    return options;
}

} // namespace Tarsel::Tools
