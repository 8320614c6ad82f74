#pragma once

#include "Media/Run.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What every verb that makes a media file of another has on its command line.
struct MediaArguments {
    std::string input;
    std::string output;
    bool overwrite = false;
    std::string videoCodec;
    std::vector<std::string> videoOptions;
    std::string quality;
    std::string audioCodec;
    std::vector<std::string> audioOptions;
    std::optional<int> threads;
    bool quiet = false;

    /// Adds INPUT, OUTPUT and the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
    /// Files and encoders. UsageException for an encoder option that is not KEY=VALUE.
    Media::RunOptions MakeRunOptions() const;
};

} // namespace Tarsel::Tools
