#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Tarsel::Tools {

/// The verbs of the command line but those that its help does not show.
std::vector<CLI::App const*> GetVerbs(CLI::App const& app);

/// Their names, "run, mix, list".
std::string ListVerbs(CLI::App const& app);

/// What its user may have meant by the first argument that fits nowhere, once the command line was parsed in
/// vain; "" where every argument has its place.
std::string ExplainLeftovers(CLI::App const& app);

} // namespace Tarsel::Tools
