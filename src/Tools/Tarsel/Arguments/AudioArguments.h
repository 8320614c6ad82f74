#pragma once

#include "Conf/SampleInfo.h"
#include "Media/AudioWriter.h"
#include "Tools/Tarsel/Arguments/EncoderArguments.h"

#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What every verb that makes an audio file has on its command line.
struct AudioArguments {
    std::string output;
    /// "" for that of the output's extension.
    std::string format;
    bool overwrite = false;
    EncoderArguments encoder = EncoderArguments::ForAudio();
    bool quiet = false;

    /// Adds OUTPUT to a verb's command line, first of the files; this object has to outlive the parsing.
    void AddOutputTo(CLI::App& command);
    void AddOptionsTo(CLI::App& command);
    /// All but what depends on the audio. UsageException for an encoder option that is not KEY=VALUE.
    Media::AudioFileOptions MakeOptions() const;
};

} // namespace Tarsel::Tools
