#include "Core/Throw.h"
#include "Host/ErrorReport.h"
#include "Media/Input.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Arguments/Options.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/RunReport.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Try/Server.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/DryRun.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

struct TryArguments {
    std::string input;
    std::string folder;
    StepArguments steps;
    bool opensBrowser = true;
};

/// What a verb does, within this process.
void RunVerb(std::vector<std::string> arguments, std::string const& plugin, std::stop_token const& stop,
             RunReport::WriteLine const& onLine) {
    Console console;
    RunReport report(console, true, onLine);
    try {
        CLI::App app;
        CommonOptions options;
        Verb const verb = AddRunVerb(app, options);
        std::ranges::reverse(arguments);
        app.parse(arguments);
        options.plugin = plugin;
        verb.run({console, options, stop, report});
        report.End();
    } catch (std::exception const& failure) {
        report.Fail(static_cast<int>(GetExitCode(failure)), Host::DescribeError(failure));
    }
}

/// In a desktop's browser, where there is one; nothing is lost where it does not open.
void OpenBrowser(std::string const& address) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr)
        return;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (int const descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    std::string program = "xdg-open";
    std::string argument = address;
    char* const words[]{program.data(), argument.data(), nullptr};
    pid_t process = 0;
    int const error = posix_spawnp(&process, program.c_str(), &files, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&files);
    if (error == 0)
        std::thread([process] { (void)waitpid(process, nullptr, 0); }).detach();
}

void CheckFolder(std::string const& folder) {
    std::error_code error;
    if (!folder.empty() && !std::filesystem::is_directory(folder, error))
        Core::Throw<Media::OptionsException>(fmt::format("--out: \"{}\" is not a folder", folder));
}

void Try(TryArguments const& arguments, Context const& context) {
    if (!CanServe())
        Core::Throw<UsageException>(
            "Build tarsel with cpp-httplib (libcpp-httplib-dev): this one cannot serve pages");
    if (Media::Input(arguments.input).IsPipe())
        Core::Throw<UsageException>(fmt::format(
            "Save \"{}\" into a file first: it is a pipe, and try reads INPUT many times", arguments.input));
    CheckFolder(arguments.folder);
    std::string const& plugin = context.options.plugin;
    Effects const effects = LoadEffects(plugin);
    std::vector<Host::EffectStep> steps;
    std::ranges::transform(ReadSteps(arguments.steps), std::back_inserter(steps), &AskedStep::step);
    Server server;
    Session session(effects, {arguments.input, arguments.folder, plugin, steps,
                              [plugin](auto const& words, auto const& stop, auto const& onLine) {
                                  RunVerb(words, plugin, stop, onLine);
                              },
                              [&](std::string const& output, std::vector<std::string> const& texts) {
                                  RunArguments run;
                                  run.media.input = arguments.input;
                                  run.media.output = output;
                                  run.media.overwrite = std::filesystem::exists(output); // copied, not run
                                  run.steps.effects = texts;
                                  return PlanRun(run, context).command;
                              },
                              [&server] { server.Stop(); }});
    WriteOutput(server.GetAddress() + '\n');
    if (context.console.IsTerminal())
        context.console.Print("Open this address in a browser. Ctrl-C ends tarsel.");
    if (arguments.opensBrowser)
        OpenBrowser(server.GetAddress());
    server.Serve(session, context.stop);
}

} // namespace

Verb AddTryVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("try", "Try effects on a file in a browser")->group("Verbs");
    auto const arguments = std::make_shared<TryArguments>();
    AddInputOption(*command, arguments->input, "Video, image or audio file");
    AddStepOptions(*command, arguments->steps);
    command->add_option("--out", arguments->folder, "Folder that films may be written to; default: none")
        ->option_text("FOLDER");
    command->add_flag("!--no-browser", arguments->opensBrowser, "Only print the address");
    common.AddTo(*command);
    command->footer("Serves a page to this computer alone and prints its address: effects are added,\n"
                    "set and ordered there, and seen and heard at once, before and after. It shows\n"
                    "the command line and the chain file to copy, and writes films to FOLDER. It\n"
                    "reads INPUT and no other file. Ctrl-C ends it, or the page.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel try in.mp4\n"
                    "  tarsel try in.mp4 --out . -e \"blur sigma=2\"");
    return {command, [arguments](Context const& context) { Try(*arguments, context); }};
}

} // namespace Tarsel::Tools
