#include "Media/Run.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/MediaWork.h"
#include "Tools/Tarsel/Work/RunWork.h"
#include "Tools/Tarsel/Work/TimeReport.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace Tarsel::Tools {
namespace {

void RunMedia(RunArguments const& arguments, bool showsTimes, Context const& context) {
    Proc::SetFiltersOnly(arguments.filtersOnly);
    MediaWork media(arguments.media, context);
    RunWork work(arguments, context);
    work.ReportTo(media);
    Media::RunResult const result = Media::Run(work.GetOptions(), context.stop);
    bool const isForPrograms = arguments.media.GetProgressForm() == ProgressForm::Json;
    TimeReport const times = work.MakeTimeReport(result);
    media.Tell(result, work.GetNotes(), showsTimes && isForPrograms ? TimesToJson(times) : "");
    if (showsTimes && !isForPrograms)
        WriteOutput(FormatTimes(times));
}

} // namespace

Verb AddRunVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command = app.add_subcommand("run", "Apply effects to video or audio")->group("Verbs");
    auto const arguments = std::make_shared<RunArguments>();
    arguments->AddTo(*command);
    auto const time = std::make_shared<bool>(false);
    command->add_flag("--time", *time, "Print where the time went");
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
                    "to the frame and to the sample, which begins at 0 in OUTPUT.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel run in.mp4 out.mp4 -e \"flip horizontal=1\" -e \"transpose step=1\"\n"
                    "  tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1\n"
                    "  tarsel run in.mp4 image.png -e \"flip vertical=1\" --at 2.5\n"
                    "  tarsel run film.mkv scene.mkv --from 1:02:03.5 --duration 250f\n"
                    "  tarsel run left.mp4 out.mp4 -e \"midequalizer reference=right.mp4\"\n"
                    "  tarsel run in.mp4 out.mp4 -e \"compressor ratio=4\" -e \"flip horizontal=1\"\n"
                    "  tarsel run film.mkv film.mp4 --audio language=fra --no-subtitles\n"
                    "  tarsel run song.wav song.mp3 -e \"reverb\"\n"
                    "  tarsel run in.mp4 out.gif -e \"resize width=320\"");
    return {command, [arguments, time](Context const& context) { RunMedia(*arguments, *time, context); }};
}

} // namespace Tarsel::Tools
