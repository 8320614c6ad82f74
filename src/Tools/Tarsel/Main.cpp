#include "Core/Files.h"
#include "Core/TemporaryPath.h"
#include "Host/FFmpegMessages.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Arguments/ArgumentHints.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/FailureText.h"
#include "Tools/Tarsel/Console/RunReport.h"
#include "Tools/Tarsel/Console/Signals.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/Version.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include <unistd.h>

namespace Tarsel::Tools {
namespace {

/// Takes no memory.
void SayOutOfMemory() noexcept {
    (void)Core::WriteAll(STDERR_FILENO, "tarsel: error: Out of memory\n");
}

/// `signal` is the one that the process was sent; 0 for none. The exit code.
ExitCode Report(Console& console, RunReport& report, std::exception const& failure, bool verbose,
                int signal) noexcept {
    constexpr int base = 128; // as shells expect
    ExitCode code = GetExitCode(failure);
    try {
        std::string const text = DescribeFailure(failure, verbose);
        console.SetStatus({});
        console.Print((code == ExitCode::Interrupted ? "tarsel: " : "tarsel: error: ") + text);
        if (code == ExitCode::Interrupted && signal != 0)
            code = static_cast<ExitCode>(base + signal);
        report.Fail(static_cast<int>(code), text);
    } catch (Media::OutputException const&) {
        return code; // no one is left to tell
    } catch (std::exception const&) {
        SayOutOfMemory();
    }
    return code;
}

/// Destructors of some libraries, that of JSON among them, take memory and end the process where there is
/// none. To throw the exception again would take some too.
[[noreturn]] void EndOutOfMemory() noexcept {
    std::type_info const* const type = abi::__cxa_current_exception_type();
    if (type == nullptr || *type != typeid(std::bad_alloc))
        std::abort();
    Core::TemporaryPath::RemoveAll();
    SayOutOfMemory();
    _exit(static_cast<int>(ExitCode::EffectFailed));
}

ExitCode Refuse(Console& console, RunReport& report, std::string const& text) {
    console.Print("tarsel: error: " + text);
    report.Fail(static_cast<int>(ExitCode::BadArguments), text);
    return ExitCode::BadArguments;
}

/// Help and version asked for, or a command line that cannot be read.
ExitCode Explain(Console& console, RunReport& report, CLI::App const& app, CLI::ParseError const& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        std::ostringstream out;
        (void)app.exit(error, out, out);
        WriteOutput(out.str());
        return ExitCode::Done;
    }
    return Refuse(console, report, ExplainParseError(app, error));
}

/// What follows the program's name, last first, as the parser wants it.
std::vector<std::string> ReadArguments(int argc, char const* const* argv, CLI::App const& app) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (!arguments.empty() && arguments.front() == "help")
        arguments = ExpandHelp(app, {arguments.begin() + 1, arguments.end()});
    std::ranges::reverse(arguments);
    return arguments;
}

ExitCode Run(int argc, char const* const* argv, Console& console, RunReport& report) {
    CLI::App app("Applies effects to video, images and audio.", "tarsel");
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "Show this help");
    app.get_formatter()->column_width(30);
    app.get_formatter()->label("SUBCOMMAND", "VERB");
    app.set_version_flag("--version", DescribeVersion, "Show the versions of tarsel and FFmpeg");
    app.footer(DescribeExitCodes() + "\n\"tarsel help VERB\" describes a verb.");

    CommonOptions options;
    std::array const verbs{AddRunVerb(app, options),       AddJoinVerb(app, options),
                           AddStabilizeVerb(app, options), AddPaletteVerb(app, options),
                           AddMixVerb(app, options),       AddToneVerb(app, options),
                           AddMeterVerb(app, options),     AddListVerb(app, options),
                           AddExplainVerb(app, options),   AddCheckVerb(app, options),
                           AddPreviewVerb(app, options),   AddGalleryVerb(app, options),
                           AddTryVerb(app, options),       AddSaveVerb(app, options),
                           AddBenchVerb(app, options),     AddManVerb(app),
                           AddCompleteVerb(app, options)};
    try {
        std::vector<std::string> arguments = ReadArguments(argc, argv, app);
        app.parse(arguments);
    } catch (CLI::ParseError const& error) {
        return Explain(console, report, app, error);
    }

    auto const verb =
        std::find_if(verbs.begin(), verbs.end(), [](Verb const& v) { return v.command->parsed(); });
    if (verb == verbs.end()) {
        return Refuse(console, report,
                      fmt::format("Name a verb: {}\nSee \"tarsel --help\".", ListVerbs(app)));
    }

    StopOnSignals const signals; // before anything is opened
    Host::FFmpegMessages const messages([&](int level, std::string_view line) {
        report.GetErrors().Hear(level, line);
        if (options.verbose)
            console.Print(line);
        report.GetLog().Write(GetLevelName(level), line);
    });
    try {
        verb->run({console, options, signals.GetStop(), report});
        report.AddNotes(report.GetErrors().TakeNotes());
        report.End();
        StopOnSignals::Ignore();
    } catch (std::exception const& failure) {
        return Report(console, report, failure, options.verbose, signals.GetSignal());
    }
    return ExitCode::Done;
}

/// Also of a command line that cannot be read: whoever reads JSON learns of that, too.
bool WantsJson(int argc, char const* const* argv) {
    for (int i = 1; i < argc; ++i) {
        std::string_view const argument = argv[i];
        if (argument == "--progress=json" ||
            (argument == "--progress" && i + 1 < argc && std::string_view(argv[i + 1]) == "json"))
            return true;
    }
    return false;
}

int Main(int argc, char const* const* argv) {
    std::set_terminate(EndOutOfMemory);
    PrepareStandardStreams();
    // SVT-AV1 talks to standard error by itself, and takes no word from FFmpeg: its errors alone, unless the
    // user says otherwise.
    (void)setenv("SVT_LOG", "1", 0);
    Console console;
    RunReport report(console, WantsJson(argc, argv));
    try {
        return static_cast<int>(Run(argc, argv, console, report));
    } catch (std::exception const& failure) {
        return static_cast<int>(Report(console, report, failure, false, 0));
    }
}

} // namespace
} // namespace Tarsel::Tools

int main(int argc, char* argv[]) {
    return Tarsel::Tools::Main(argc, argv);
}
