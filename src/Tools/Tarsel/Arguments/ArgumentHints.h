#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace Tarsel::Tools {

/// The verbs of the command line but those that its help does not show.
std::vector<CLI::App const*> GetVerbs(CLI::App const& app);

/// Their names, "run, mix, list".
std::string ListVerbs(CLI::App const& app);

/// What "help" with these words behind it stands for: "VERB --help", or "list EFFECT".
std::vector<std::string> ExpandHelp(CLI::App const& app, std::vector<std::string> words);

/// What to do about a command line that `app` could not parse, how its verb is used, and where to read more.
std::string ExplainParseError(CLI::App const& app, CLI::ParseError const& error);

} // namespace Tarsel::Tools
