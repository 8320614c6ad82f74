#include "Media/Run.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Tools/Tarsel/Arguments/BatchArguments.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Batch/BatchWork.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Parts/PartNumber.h"
#include "Tools/Tarsel/Parts/PartWork.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/MediaWork.h"
#include "Tools/Tarsel/Work/RunWork.h"
#include "Tools/Tarsel/Work/TimeReport.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>

namespace Tarsel::Tools {
namespace {

/// What "run" takes.
struct RunVerbArguments {
    RunArguments run;
    BatchArguments batch;
    /// "3/10"; "" for the whole.
    std::string part;
    bool showsTimes = false;
};

void RunMedia(RunVerbArguments const& all, Context const& context) {
    RunArguments arguments = all.run;
    if (all.showsTimes)
        CheckIsAlone(arguments.media.output, "--time");
    auto const number = ParsePartNumber(all.part);
    if (number)
        PartWork::CheckFiles(arguments.media);
    MediaWork media(arguments.media, context);
    arguments.share = number ? Share::PartOfVideo : Share::Whole;
    RunWork work(arguments, context);
    std::optional<PartWork> part;
    if (number)
        part.emplace(arguments, *number, work, context);
    if (part && part->GetFormerResult()) {
        media.Tell(*part->GetFormerResult(), {});
        return;
    }
    work.ReportTo(media);
    Media::RunResult const result =
        Media::Run(part ? part->MakeOptions(work.GetOptions()) : work.GetOptions(), context.stop);
    if (part)
        part->Publish(result);
    bool const isForPrograms = arguments.media.GetProgressForm() == ProgressForm::Json;
    TimeReport const times = work.MakeTimeReport(result);
    media.Tell(result, work.GetNotes(), all.showsTimes && isForPrograms ? TimesToJson(times) : "");
    if (all.showsTimes && !isForPrograms)
        WriteOutput(FormatTimes(times));
}

void RunVerbWith(RunVerbArguments const& arguments, Context const& context) {
    Proc::SetFiltersOnly(arguments.run.filtersOnly);
    if (arguments.batch.IsWanted())
        BatchWork(arguments.run, arguments.batch, context).Run();
    else
        RunMedia(arguments, context);
}

} // namespace

Verb AddRunVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("run", "Apply effects to video, images or audio")->group("Verbs");
    auto const arguments = std::make_shared<RunVerbArguments>();
    arguments->run.AddTo(*command);
    arguments->batch.AddTo(*command, arguments->run.media);
    command->add_option("--part", arguments->part, "Work on part K of N of the video only; see \"join\"")
        ->option_text("K/N")
        ->check(CheckPartNumber, "")
        ->excludes(command->get_option("--out-dir"));
    command->add_flag("--time", arguments->showsTimes, "Print where the time went")
        ->excludes(command->get_option("--out-dir"));
    common.AddTo(*command);
    command->footer("EFFECT is \"NAME KEY=VALUE...\"; a flag alone means 1, as in \"flip horizontal\".\n"
                    "NAME@2.5-7 works from second 2.5 to 7, KEY=0..20@1-3 moves from 0 to 20.\n"
                    "\"tarsel list\" shows names and keys. Video effects get frames turned upright, as\n"
                    "the orientation tag says; audio effects apply to every audio stream, or to one,\n"
                    "as in \"audio:1/reverb\" and \"audio:fra/reverb\". Streams of a kind are numbered\n"
                    "from 0. Subtitles, chapters and metadata are copied. So are video and audio that\n"
                    "no effect changes, if OUTPUT can hold their codecs and no encoder option is\n"
                    "given. An effect on two inputs takes the second from reference=FILE, an image,\n"
                    "or a video that starts with INPUT. --from and --to take a part of INPUT, exact\n"
                    "to the frame and to the sample, which begins at 0 in OUTPUT. --part is for video\n"
                    "that several processes or machines share: each writes a part of its frames\n"
                    "without audio, and OUTPUT.json beside it; \"tarsel join\" joins them.\n\n"
                    "Numbered images are read as one video and written for one: shots/%04d.png means\n"
                    "shots/0001.png and those that follow.\n\n"
                    "With --out-dir there may be any number of files, folders of files and quoted\n"
                    "patterns in place of INPUT and OUTPUT. Each file is written under its own name,\n"
                    "several at a time; where one fails the others go on.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel run in.mp4 out.mp4 -e \"flip horizontal=1\" -e \"transpose step=1\"\n"
                    "  tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1\n"
                    "  tarsel run in.mp4 image.png -e \"flip vertical=1\" --at 2.5\n"
                    "  tarsel run film.mkv scene.mkv --from 1:02:03.5 --duration 250f\n"
                    "  tarsel run film.mkv part-3.mkv --part 3/10 -e \"blur sigma=2\"\n"
                    "  tarsel run left.mp4 out.mp4 -e \"midequalizer reference=right.mp4\"\n"
                    "  tarsel run in.mp4 out.mp4 -e \"compressor ratio=4\" -e \"flip horizontal=1\"\n"
                    "  tarsel run film.mkv film.mp4 --audio language=fra --no-subtitles\n"
                    "  tarsel run song.wav song.mp3 -e \"reverb\"\n"
                    "  tarsel run in.mp4 out.gif -e \"resize width=320\"\n"
                    "  tarsel run shots/%04d.png film.mp4 --rate 24\n"
                    "  tarsel run photos --out-dir small -e \"resize width=1280\"\n"
                    "  cat in.mkv | tarsel run - - --format y4m -e negate | ffmpeg -i - out.webm");
    return {command, [arguments](Context const& context) { RunVerbWith(*arguments, context); }};
}

} // namespace Tarsel::Tools
