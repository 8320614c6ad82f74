#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

struct MediaArguments;

/// Several files in place of one, each written under its own name, as the user of "run" writes them.
struct BatchArguments {
    /// "": there is one input, and one output.
    std::string folder;
    /// The extension of what is written, without its dot; "": that of each input.
    std::string format;
    bool skipsExisting = false;
    bool stopsOnError = false;
    /// All that stands in the places of INPUT and OUTPUT, in its order.
    std::vector<std::string> inputs;

    /// Adds the options to a verb's, which has `media` already. Both objects have to outlive the parsing.
    void AddTo(CLI::App& command, MediaArguments const& media);
    bool IsWanted() const noexcept { return !folder.empty(); }
};

} // namespace Tarsel::Tools
