#include "Core/Throw.h"
#include "Media/Run.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Parts/JoinWork.h"
#include "Tools/Tarsel/Parts/RunSettings.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/MediaWork.h"
#include "Tools/Tarsel/Work/RunWork.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct JoinArguments {
    MediaArguments media;
    std::vector<std::string> parts;
};

/// The run that the parts are of, with its audio and without its video.
RunArguments MakeWholeRun(JoinArguments const& arguments, PartFile const& part,
                          CommonOptions const& options) {
    RunArguments run;
    run.media = arguments.media;
    std::string plugin;
    auto const& settings = part.common.at("run");
    try {
        ReadSettings(settings, run, plugin);
    } catch (nlohmann::json::exception const& exception) {
        Core::Throw<UsageException>(
            fmt::format("Make the parts again: their settings are damaged: {}", exception.what()));
    }
    if (std::string const made = settings.value("container", ""); made != GetContainerName(run.media.output))
        Core::Throw<UsageException>(fmt::format(
            "Choose an output like the parts, which are {} files: \"{}\" is none", made, run.media.output));
    run.share = Share::AllButVideo;
    // A description may come from anywhere: it names no library to load.
    if (options.plugin != plugin)
        Core::Throw<UsageException>(
            plugin.empty() ? std::string("Leave out --plugin: the parts were made without it")
                           : fmt::format("Add --plugin \"{}\", which the parts were made with", plugin));
    return run;
}

void Join(JoinArguments const& arguments, Context const& context) {
    MediaWork media(arguments.media, context);
    std::vector<DescribedPart> const parts = ReadParts(arguments.parts, arguments.media.input);
    RunArguments const run = MakeWholeRun(arguments, parts.front().description, context.options);
    Proc::SetFiltersOnly(run.filtersOnly);
    RunWork work(run, context);
    work.ReportTo(media);
    Media::RunOptions options = work.GetOptions();
    for (DescribedPart const& part : parts)
        options.parts.push_back({part.file, part.description.facts});
    Media::RunResult const result = Media::Run(options, context.stop);
    media.Tell(result, work.GetNotes());
}

} // namespace

Verb AddJoinVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("join", "Join the parts of a video that run --part made")->group("Verbs");
    auto const arguments = std::make_shared<JoinArguments>();
    MediaArguments& media = arguments->media;
    command->add_option("INPUT", media.input, "File that the parts were made of")
        ->required()
        ->option_text(" ");
    command->add_option("OUTPUT", media.output, "File to write, with the extension of the parts")
        ->required()
        ->option_text(" ");
    command->add_option("PART", arguments->parts, "All parts, in any order, each with its PART.json")
        ->required()
        ->option_text(" ");
    command->add_flag("--overwrite", media.overwrite, "Replace OUTPUT if it exists");
    media.AddReportTo(*command);
    common.AddTo(*command);
    command->footer("Writes what one run of the whole would have written: the video of the parts as\n"
                    "it is, not encoded again, and the audio, subtitles, chapters and metadata of\n"
                    "INPUT, with the audio effects and encoders that the parts were made with.\n"
                    "Parts that do not fit together are refused.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel join film.mkv out.mkv part-*.mkv");
    return {command, [arguments](Context const& context) { Join(*arguments, context); }};
}

} // namespace Tarsel::Tools
