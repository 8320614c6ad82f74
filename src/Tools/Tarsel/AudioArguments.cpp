#include "Tools/Tarsel/AudioArguments.h"

#include "Tools/Tarsel/EncoderOptions.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

void AudioArguments::AddOutputTo(CLI::App& command) {
    command.add_option("OUTPUT", output, "Audio file; its extension sets the container")
        ->required()
        ->option_text(" ");
}

void AudioArguments::AddOptionsTo(CLI::App& command) {
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    command.add_option("--audio-codec", audioCodec, "FFmpeg encoder for audio, such as flac")
        ->option_text("NAME");
    command.add_option("--audio-option", audioOptions, "Option for that encoder, such as b=192k")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
    command.add_flag("--quiet", quiet, "Print errors only");
}

Media::AudioFileOptions AudioArguments::MakeOptions() const {
    Media::AudioFileOptions options;
    options.output = output;
    options.overwrite = overwrite;
    options.encoder = audioCodec;
    options.encoderOptions = ParseEncoderOptions(audioOptions, "--audio-option", "b=192k");
    return options;
}

} // namespace Tarsel::Tools
