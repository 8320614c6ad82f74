#include "Tools/Tarsel/Arguments/AudioArguments.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

void AudioArguments::AddOutputTo(CLI::App& command) {
    command.add_option("OUTPUT", output, "Audio file; its extension sets the container")
        ->required()
        ->option_text(" ");
}

void AudioArguments::AddOptionsTo(CLI::App& command) {
    command.add_flag("--overwrite", overwrite, "Replace OUTPUT if it exists");
    encoder.AddTo(command);
    command.add_flag("--quiet", quiet, "Print errors only");
}

Media::AudioFileOptions AudioArguments::MakeOptions() const {
    Media::AudioFileOptions options;
    options.output = output;
    options.overwrite = overwrite;
    options.encoder = encoder.name;
    options.encoderOptions = encoder.MakeOptions();
    return options;
}

} // namespace Tarsel::Tools
