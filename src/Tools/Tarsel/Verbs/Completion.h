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

struct Completions {
    std::vector<Candidate> candidates;
    /// Files fit, too: the shell's.
    bool files = false;
};

/// What the last of `words`, as far as it is written, may become on a command line of `app` that begins with
/// the others: verbs, options and their values, effects, their keys and values, encoders, the extensions of
/// containers. What effects there are is asked of the plug-in ("" for the default one). PluginException.
Completions Complete(CLI::App const& app, std::vector<std::string> const& words, std::string const& plugin);

} // namespace Tarsel::Tools
