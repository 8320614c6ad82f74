#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Media/Analyze.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Arguments/RangeArguments.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/MotionFiles.h"
#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/ProgressLine.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/TimeReport.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct BenchArguments {
    std::string input;
    RangeArguments range;
    StepArguments steps;
    std::optional<int> threads;
    bool filtersOnly = false;
    bool json = false;
};

void Bench(BenchArguments const& arguments, Context const& context) {
    Proc::SetFiltersOnly(arguments.filtersOnly);
    if (arguments.threads)
        Core::ThreadBudget::Set(*arguments.threads);
    ChainMaker maker(LoadEffects(context.options.plugin));
    SortedSteps const steps = SortSteps(maker.GetEffects(), ReadSteps(arguments.steps));
    if (!steps.audio.empty())
        Core::Throw<UsageException>("Remove " + steps.audio.front().label +
                                    ": bench measures effects on video; for audio, give run --time");
    References references;
    std::vector<VideoStep> const effects = MakePictureSteps(maker.GetEffects(), steps.picture, references);
    PrivateFolder const folder;
    KeepMotionPrivate(effects, folder);
    std::vector<std::filesystem::path> files = references.GetPaths();
    files.emplace_back(arguments.input);
    CheckMotionFiles(effects, files);

    Media::AnalyzeOptions options{arguments.input,
                                  [&](Media::VideoStreamInfo const& stream) {
                                      references.Open(maker.GetEffects(), stream.start, context.stop);
                                      return maker.Make(stream, effects);
                                  },
                                  {},
                                  arguments.range.MakeRange(),
                                  Media::OnResize::Scale,
                                  {}};
    Console& console = context.console;
    if (console.IsTerminal())
        options.onProgress = [&](Media::RunProgress const& progress) { ShowProgressLine(console, progress); };
    Media::AnalyzeResult const result = Media::Analyze(options, context.stop);
    console.SetStatus({});
    console.PrintNotes(maker.GetNotes());
    console.PrintNotes(references.GetNotes());
    TimeReport const report{result.frames, result.times, maker.GetVideoTimes(), {}, Core::ThreadBudget::Get(),
                            false};
    WriteOutput(arguments.json ? TimesToJson(report) : FormatTimes(report));
}

} // namespace

Verb AddBenchVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("bench", "Measure how long effects take")->group("Verbs");
    auto const arguments = std::make_shared<BenchArguments>();
    AddInputOption(*command, arguments->input, "Video or image file to read, or \"-\"");
    arguments->range.AddTo(*command);
    AddStepOptions(*command, arguments->steps);
    AddThreadsOption(*command, arguments->threads);
    AddFiltersOnlyFlag(*command, arguments->filtersOnly);
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Decodes INPUT, applies the effects and drops the frames: no file is written.\n"
                    "Steps that work on several frames at a time show the sum over their threads.\n"
                    "\"tarsel run --time\" shows the same of a whole run.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel bench in.mp4 -e \"blur sigma=2\" -e \"emboss\"\n"
                    "  tarsel bench in.mp4 -e \"denoise-wavelet\" --threads 1 --filters-only");
    return {command, [arguments](Context const& context) { Bench(*arguments, context); }};
}

} // namespace Tarsel::Tools
