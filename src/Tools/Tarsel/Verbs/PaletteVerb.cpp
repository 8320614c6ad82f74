#include "Core/Throw.h"
#include "Media/Run.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/Arguments/MediaArguments.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/Palettes.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/MediaWork.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct PaletteArguments {
    MediaArguments media;
    int colors = 255;
    bool dither = false;
    std::string background;
    std::optional<double> at;

    std::string MakeSettings() const {
        std::string settings = fmt::format("colors={} dither={:d}", colors, dither);
        if (!background.empty())
            settings += " \"background=" + background + '"';
        return settings;
    }
};

void MakePalettes(PaletteArguments const& arguments, Context const& context) {
    MediaWork work(arguments.media, context);
    Media::RunOptions options = arguments.media.MakeRunOptions();
    options.at = arguments.at;
    bool const keepsClear = arguments.background.empty() && Media::KeepsClearColors(options);
    ChainMaker maker(LoadEffects(context.options.plugin));
    std::vector<VideoStep> steps;
    try {
        steps.push_back(MakePaletteStep(maker.GetEffects(), arguments.MakeSettings(), keepsClear));
    } catch (Proc::SettingsException const&) { // all but the color has been checked
        Core::Throw<UsageException>(fmt::format(
            "--background: give a color such as #ffffff or white, not \"{}\"", arguments.background));
    }
    if (!HoldsPalettes(options))
        Core::Throw<UsageException>(fmt::format(
            "Choose another OUTPUT, such as .png, .gif, .bmp or .tiff: \"{}\" cannot hold palettes",
            options.output.filename().string()));
    options.makeVideoEffects = [&](Media::VideoStreamInfo const& stream) {
        return maker.Make(stream, steps);
    };
    work.Attach(options);
    Media::RunResult const result = Media::Run(options, context.stop);
    std::vector<std::string> notes = maker.GetNotes();
    for (std::string& note : DescribePalettes(steps.front()))
        notes.push_back(std::move(note));
    work.Tell(result, notes);
}

} // namespace

Verb AddPaletteVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("palette", "Reduce images or video to a few colors")->group("Verbs");
    auto const arguments = std::make_shared<PaletteArguments>();
    arguments->media.AddTo(*command, "Video or image");
    command->add_option("--colors,--colours", arguments->colors, "Colors per frame besides black, 1 to 255")
        ->option_text("N")
        ->check(CheckWholeNumber(1, 255), "");
    command->add_flag("--dither", arguments->dither, "Diffuse the error to neighboring pixels");
    command
        ->add_option("--background", arguments->background,
                     "Color behind transparent pixels, such as #ffffff")
        ->option_text("COLOR");
    AddAtOption(*command, arguments->at);
    common.AddTo(*command);
    command->footer("Every frame gets its own palette. OUTPUT must be a file that holds palettes:\n"
                    ".png, .gif, .bmp, .tiff, or a video (.avi, .mkv, .nut) with\n"
                    "--video-codec rawvideo. In .png and .gif clear pixels stay clear, unless\n"
                    "--background is given.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel palette photo.png small.png --colors 16 --dither\n"
                    "  tarsel palette film.mp4 film.gif --colors 64");
    return {command, [arguments](Context const& context) { MakePalettes(*arguments, context); }};
}

} // namespace Tarsel::Tools
