#include "Tools/Tarsel/Arguments/AudioArguments.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"

#include <CLI/CLI.hpp>

namespace Tarsel::Tools {

void AudioArguments::AddOutputTo(CLI::App& command) {
    AddOutputOption(command, output, "Audio, or \"-\"; its extension sets the container");
}

void AudioArguments::AddOptionsTo(CLI::App& command) {
    AddFormatOptions(command, format, overwrite);
    encoder.AddTo(command);
    command.add_flag("--quiet", quiet, "Print errors only");
}

Media::AudioFileOptions AudioArguments::MakeOptions() const {
    Media::AudioFileOptions options;
    options.output = output;
    options.container = format;
    options.overwrite = overwrite;
    options.encoder = encoder.name;
    options.encoderOptions = encoder.MakeOptions();
    return options;
}

} // namespace Tarsel::Tools
