#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Tarsel::Tools {

class Console;
struct StepArguments;
class RunReport;

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

/// What a verb works with.
struct Context {
    Console& console;
    CommonOptions const& options;
    /// Asked for by signals.
    std::stop_token stop;
    RunReport& report;
};

/// One verb of the command line.
struct Verb {
    /// Its part of the command line; belongs to the whole.
    CLI::App* command;
    /// Does the work, once the command line is parsed. Failures are exceptions.
    std::function<void(Context const&)> run;
};

/// Each adds a verb to the command line; the options all verbs share go to `common`, which outlives the
/// parsing.
///
/// "run": a media file's picture and audio through effects into another file.
Verb AddRunVerb(CLI::App& app, CommonOptions& common);
/// "stabilize": a film with the camera's shake taken out, in two passes.
Verb AddStabilizeVerb(CLI::App& app, CommonOptions& common);
/// "palette": pictures of few colors.
Verb AddPaletteVerb(CLI::App& app, CommonOptions& common);
/// "mix": audio streams into one.
Verb AddMixVerb(CLI::App& app, CommonOptions& common);
/// "tone": an audio file out of a source of audio.
Verb AddToneVerb(CLI::App& app, CommonOptions& common);
/// "meter": how loud a file's audio is over time.
Verb AddMeterVerb(CLI::App& app, CommonOptions& common);
/// "list": the effects of the plug-in and their parameters.
Verb AddListVerb(CLI::App& app, CommonOptions& common);
/// "explain": what effects would do with a format, without media.
Verb AddExplainVerb(CLI::App& app, CommonOptions& common);
/// "save": a chain of effects as a file.
Verb AddSaveVerb(CLI::App& app, CommonOptions& common);
/// "check": a plug-in against the contract with its hosts.
Verb AddCheckVerb(CLI::App& app, CommonOptions& common);
/// "bench": how long effects take on a film, of which nothing is written.
Verb AddBenchVerb(CLI::App& app, CommonOptions& common);
/// "man": the manual pages; not shown.
Verb AddManVerb(CLI::App& app);
/// "complete": what may follow on a command line; for shells, and not shown. To be added last.
Verb AddCompleteVerb(CLI::App& app, CommonOptions& common);

} // namespace Tarsel::Tools
