#include "Core/Text.h"
#include "Media/Run.h"
#include "Tools/Tarsel/ExitCodes.h"
#include "Tools/Tarsel/LaneMaker.h"
#include "Tools/Tarsel/MediaArguments.h"
#include "Tools/Tarsel/MediaWork.h"
#include "Tools/Tarsel/Steps.h"
#include "Tools/Tarsel/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct RunArguments {
    MediaArguments media;
    std::vector<std::string> effects;
    std::optional<double> at;

    /// Whether the picture has to be decoded and encoded; otherwise it is copied as it is.
    bool WorksOnPicture() const {
        return !effects.empty() || !media.videoCodec.empty() || !media.videoOptions.empty() || at.has_value();
    }
};

/// What is wrong with a time in seconds, or "".
std::string CheckTime(std::string const& text) {
    auto const seconds = Core::TextToDouble(text);
    return seconds && std::isfinite(*seconds) && *seconds >= 0
               ? ""
               : fmt::format("\"{}\" is no time in seconds, 0 or more", text);
}

void RunMedia(RunArguments const& arguments, Context const& context) {
    // Everything that can be wrong with the arguments alone comes before any file is opened.
    Media::RunOptions options = arguments.media.MakeRunOptions();
    options.at = arguments.at;
    std::optional<LaneMaker> maker;
    std::vector<SP<Proc::IOneInputEffectVideo>> steps;
    auto const loadEffects = [&] { maker.emplace(LoadEffects(context.options.plugin), context.log); };
    if (arguments.WorksOnPicture()) {
        loadEffects();
        steps = MakeVideoEffects(maker->GetEffects(), arguments.effects);
        options.makeVideoLane = [&](Media::VideoStreamInfo const& stream) {
            return maker->Make(stream, steps);
        };
    } else {
        options.makeVideoLane =
            [&](Media::VideoStreamInfo const& stream) -> std::unique_ptr<Proc::IEffectStreamVideo> {
            if (!LaneMaker::HasToTurn(stream))
                return nullptr;
            loadEffects();
            return maker->MakeUpright(stream);
        };
    }
    MediaWork const work(arguments.media, context);
    options.onProgress = work.ShowProgress();
    Media::RunResult const result = Media::Run(options, work.GetStop());
    work.Tell(result, maker ? maker->GetNotes() : std::vector<std::string>());
}

} // namespace

Verb AddRunVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("run", "Pass a media file's picture through effects")->group("Verbs");
    auto const arguments = std::make_shared<RunArguments>();
    arguments->media.AddTo(*command);
    AddEffectOption(*command, arguments->effects);
    command->add_option("--at", arguments->at, "Time of the frame for a still picture")
        ->option_text("SECONDS")
        ->check(CheckTime, "");
    common.AddTo(*command);
    command->footer("EFFECT is \"NAME KEY=VALUE...\"; \"tarsel list\" shows names and keys. Effects see\n"
                    "the picture upright, as its orientation tag asks. Sound, subtitles, chapters and\n"
                    "metadata are copied; so is the picture where OUTPUT can hold its codec, unless\n"
                    "there are effects or options for encoding.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel run in.mp4 out.mp4 -e \"flip horizontal=1\" -e \"transpose step=1\"\n"
                    "  tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1\n"
                    "  tarsel run in.mp4 still.png -e \"flip vertical=1\" --at 2.5");
    return {command, [arguments](Context const& context) { RunMedia(*arguments, context); }};
}

} // namespace Tarsel::Tools
