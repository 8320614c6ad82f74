#include "Tools/Tarsel/MediaArguments.h"

#include "Tools/Tarsel/EncoderOptions.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

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
