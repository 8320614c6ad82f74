#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Tarsel::Tools {

struct StepArguments;

/// What every verb has on its command line.
struct CommonOptions {
    /// The plug-in's file; empty: the one that is found under this project's name.
    std::string plugin;
    /// Failures with site and stack, and FFmpeg's own log.
    bool verbose = false;

    /// Adds the options to a verb's; this object has to outlive the parsing.
    void AddTo(CLI::App& command);
};

/// Adds "-e", the effects of a chain as their user writes them, and "--chain", a file of them.
void AddStepOptions(CLI::App& command, StepArguments& steps);

/// Adds "--threads", for the thread budget.
void AddThreadsOption(CLI::App& command, std::optional<int>& threads);

/// Adds "--filters-only", for Proc::SetFiltersOnly.
void AddFiltersOnlyFlag(CLI::App& command, bool& filtersOnly);

/// Adds "--at", the time in seconds of the picture for a still.
void AddAtOption(CLI::App& command, std::optional<double>& at);
/// The same for several.
void AddAtOption(CLI::App& command, std::vector<double>& at);

/// The least and the most that is legal.
struct Seconds {
    double least;
    double most;
};

/// Adds an option for a time in seconds within the range.
void AddSecondsOption(CLI::App& command, std::string const& name, std::optional<double>& value,
                      std::string const& help, Seconds range);

/// Adds an option that takes one of these words.
CLI::Option* AddWordOption(CLI::App& command, std::string const& name, std::string& value,
                           std::vector<std::string> const& words, std::string const& help);

/// The words that an option takes; none where others are legal too.
std::vector<std::string> GetWords(CLI::Option const& option);

/// For an option's check: says what is wrong with a text that is no whole number within the range, both ends
/// included, and "" of any other.
std::function<std::string(std::string const&)> CheckWholeNumber(int least, int most);

} // namespace Tarsel::Tools
