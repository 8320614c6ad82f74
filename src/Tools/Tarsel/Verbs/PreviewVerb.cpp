#include "Core/Throw.h"
#include "Media/ImageWriter.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/ProgressLine.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Preview/AudioPreview.h"
#include "Tools/Tarsel/Preview/VideoPreview.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/AudioWork.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

constexpr int s_leastWidth = 64;
constexpr int s_mostWidth = 16384;
constexpr int s_mostPanels = 32;

struct PreviewArguments {
    std::string input;
    std::string output;
    std::string format;
    StepArguments steps;
    std::vector<double> at;
    std::string style;
    int width = 0;
    std::string sweep;
    int sweepSteps = 6;
    bool overwrite = false;
};

/// The frame before comes first in a sweep, rather than within each.
PreviewStyle ChooseStyle(PreviewArguments const& arguments) {
    for (PreviewStyleName const& each : s_previewStyles)
        if (each.name == arguments.style)
            return each.style;
    return arguments.sweep.empty() ? PreviewStyle::Split : PreviewStyle::Side;
}

VideoPreviewRequest MakeRequest(PreviewArguments const& arguments, Console& console) {
    VideoPreviewRequest request{arguments.input,        {arguments.input, arguments.output},         {},
                                ChooseStyle(arguments), static_cast<std::uint32_t>(arguments.width), {}};
    constexpr double microseconds = 1e6;
    std::ranges::transform(arguments.at, std::back_inserter(request.times),
                           [](double seconds) { return std::llround(seconds * microseconds); });
    std::ranges::sort(request.times);
    request.onProgress = [&console](Media::RunProgress const& progress) {
        if (console.IsTerminal())
            ShowProgressLine(console, progress);
    };
    return request;
}

PreviewResult DrawAudio(PreviewArguments const& arguments, ChainMaker& maker, Variants const& variants,
                        Context const& context) {
    if (!arguments.at.empty())
        Core::Throw<UsageException>("Remove --at: audio is shown as a whole");
    if (!arguments.style.empty())
        Core::Throw<UsageException>("Remove --style: audio is shown before and after");
    AudioWork work(context, false);
    auto const onTime = [&](std::int64_t done, std::int64_t all) { work.ShowProgress(done, all); };
    return DrawAudioPreview(maker, variants, MakeRequest(arguments, context.console), onTime, context.stop);
}

void Preview(PreviewArguments const& arguments, Context const& context) {
    Media::ImageFileOptions const image{
        arguments.output, {arguments.input}, arguments.overwrite, arguments.format};
    Media::CheckImageFile(image);
    ChainMaker maker(LoadEffects(context.options.plugin));
    Variants const variants =
        MakeVariants(maker.GetEffects(), arguments.steps, arguments.sweep, arguments.sweepSteps);
    PreviewResult result =
        variants.areAudio
            ? DrawAudio(arguments, maker, variants, context)
            : DrawVideoPreview(maker, variants, MakeRequest(arguments, context.console), context.stop);
    if (variants.haveLeftOutAudio)
        result.notes.emplace_back("Left out the audio effects: give them alone to see what they do.");
    for (std::string& note : Media::WriteImage(result.picture, image))
        result.notes.push_back(std::move(note));
    context.console.SetStatus({});
    context.console.PrintNotes(result.notes);
}

} // namespace

Verb AddPreviewVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("preview", "Show frames or audio before and after effects")->group("Verbs");
    auto const arguments = std::make_shared<PreviewArguments>();
    AddInputOption(*command, arguments->input, "Video, image or audio file, or \"-\"");
    AddOutputOption(*command, arguments->output, "Image, or \"-\"; its extension sets the format");
    AddFormatOptions(*command, arguments->format, arguments->overwrite);
    AddStepOptions(*command, arguments->steps);
    AddAtOption(*command, arguments->at);
    std::vector<std::string> styles;
    for (PreviewStyleName const& each : s_previewStyles)
        styles.emplace_back(each.name);
    AddWordOption(*command, "--style", arguments->style, styles, "split, side, difference or after");
    command->add_option("--width", arguments->width, "Width of OUTPUT; default: frames at their own size")
        ->option_text("N")
        ->check(CheckWholeNumber(s_leastWidth, s_mostWidth), "");
    CLI::Option* const sweep =
        command->add_option("--sweep", arguments->sweep, "Effect with a range, such as \"blur sigma=0..30\"")
            ->option_text("EFFECT");
    command->add_option("--steps", arguments->sweepSteps, "Values of the range to show; default: 6")
        ->option_text("N")
        ->needs(sweep)
        ->check(CheckWholeNumber(2, s_mostPanels), "");
    common.AddTo(*command);
    command->footer("Writes one image: a row for each --at (default: the first frame), with frames\n"
                    "as a run would make them. split shows the left half before and the right half\n"
                    "after; side both; difference their difference, brightened as its label says;\n"
                    "after the result alone. Frames of other sizes stand beside one another. Audio\n"
                    "is shown as waveform and spectrogram.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel preview in.mp4 look.png -e \"blur sigma=2\" --at 2.5 --at 10\n"
                    "  tarsel preview in.mp4 look.png -e denoise-wavelet --style difference\n"
                    "  tarsel preview in.mp4 look.png --sweep \"blur sigma=0..30\" --steps 6\n"
                    "  tarsel preview song.wav look.png -e \"reverb amount=0.8\"");
    return {command, [arguments](Context const& context) { Preview(*arguments, context); }};
}

} // namespace Tarsel::Tools
