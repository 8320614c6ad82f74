#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// The encoder of one medium on a command line: --MEDIUM-codec NAME and any number of --MEDIUM-option
/// KEY=VALUE.
struct EncoderArguments {
    std::string_view medium;
    std::string_view exampleName;
    std::string_view exampleOption;
    std::string name;
    std::vector<std::string> texts;

    static EncoderArguments ForVideo() { return {"video", "libx264", "crf=18", {}, {}}; }
    static EncoderArguments ForAudio() { return {"audio", "flac", "b=192k", {}, {}}; }

    /// Adds both options to a verb's command line; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
    /// The options as Media takes them. UsageException for a text that is not KEY=VALUE.
    std::vector<std::pair<std::string, std::string>> MakeOptions() const;
};

} // namespace Tarsel::Tools
