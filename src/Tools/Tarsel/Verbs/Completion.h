#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// What may stand in place of a word.
struct Candidate {
    std::string text;
    /// One line, or "".
    std::string help;
};

/// What the last of `words`, as far as it is written, may become on a command line of `app` that begins with
/// the others: verbs, options, effects, their keys and values, encoders. Nothing where a file is wanted. What
/// effects there are is asked of the plug-in ("" for the default one). PluginException.
std::vector<Candidate> Complete(CLI::App const& app, std::vector<std::string> const& words,
                                std::string const& plugin);

} // namespace Tarsel::Tools
