#include "Core/Text.h"
#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Media/Run.h"
#include "Tools/Tarsel/Console.h"
#include "Tools/Tarsel/ExitCodes.h"
#include "Tools/Tarsel/LoggedLane.h"
#include "Tools/Tarsel/ProgressLine.h"
#include "Tools/Tarsel/Signals.h"
#include "Tools/Tarsel/Steps.h"
#include "Tools/Tarsel/UsageException.h"
#include "Tools/Tarsel/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

struct RunArguments {
    std::string input;
    std::string output;
    std::vector<std::string> effects;
    bool overwrite = false;
    std::string videoCodec;
    std::vector<std::string> videoOptions;
    std::optional<double> at;
    std::optional<int> threads;
    bool quiet = false;

    /// Whether the picture has to be decoded and encoded; otherwise it is copied as it is.
    bool WorksOnPicture() const {
        return !effects.empty() || !videoCodec.empty() || !videoOptions.empty() || at.has_value();
    }
};

/// What is wrong with a time in seconds, or "".
std::string CheckTime(std::string const& text) {
    auto const seconds = Core::TextToDouble(text);
    return seconds && std::isfinite(*seconds) && *seconds >= 0
               ? ""
               : fmt::format("\"{}\" is no time in seconds, 0 or more", text);
}

std::pair<std::string, std::string> ParseEncoderOption(std::string const& text) {
    std::size_t const sign = text.find('=');
    if (sign == std::string::npos || sign == 0)
        Core::Throw<UsageException>(
            {"Tools/Tarsel/RunVerb", "std::pair<std::string, std::string> "
                                     "Tarsel::Tools::ParseEncoderOption(const std::string &)"},
            fmt::format("--video-option \"{}\" is not KEY=VALUE, for example crf=18", text));
    return {text.substr(0, sign), text.substr(sign + 1)};
}

/// Puts the user's effects behind one that turns the picture upright: they work on what viewers see.
class LaneMaker {
public:
    LaneMaker(RunArguments const& arguments, Context const& context)
        : m_log(context.log), m_isNeeded(arguments.WorksOnPicture()) {
        auto const steps = ParseSteps(arguments.effects);
        if (!m_isNeeded)
            return;
        m_effects = LoadEffects(context.options.plugin);
        m_steps = MakeVideoEffects(m_effects, steps);
    }

    std::unique_ptr<Proc::IEffectStreamVideo> Make(Media::VideoStreamInfo const& stream) {
        if (!m_isNeeded)
            return {};
        auto lane = std::make_unique<LoggedLane>(m_log);
        auto const orientation = stream.orientation.GetOrientation();
        if (orientation && *orientation != 1)
            lane->Append(MakeOrientationEffect(m_effects, stream.orientation));
        if (!orientation)
            m_note =
                "The input's orientation tag is no mirror and no quarter turn: the effects worked on the "
                "picture as it is stored, and the tag is dropped.";
        for (auto const& step : m_steps)
            lane->Append(step);
        return lane;
    }

    /// What the user should know of the last Make; "" for nothing.
    std::string const& GetNote() const noexcept { return m_note; }

private:
    FFmpegLog& m_log;
    bool m_isNeeded;
    Effects m_effects;
    std::vector<SP<Proc::IOneInputEffectVideo>> m_steps;
    std::string m_note;
};

Media::RunOptions MakeOptions(RunArguments const& arguments) {
    Media::RunOptions options;
    options.input = arguments.input;
    options.output = arguments.output;
    options.overwrite = arguments.overwrite;
    options.videoEncoder = arguments.videoCodec;
    for (std::string const& option : arguments.videoOptions)
        options.videoEncoderOptions.push_back(ParseEncoderOption(option));
    options.at = arguments.at;
    return options;
}

std::string Summarise(Media::RunResult const& result, std::string const& output) {
    double const speed = result.seconds > 0 ? static_cast<double>(result.framesOut) / result.seconds : 0;
    std::string const encoder = result.videoEncoder.empty() ? "copied" : result.videoEncoder;
    return fmt::format("{}: {} frames ({}) in {:.1f} s, {:.1f} fps", output, result.framesOut, encoder,
                       result.seconds, speed);
}

void RunMedia(RunArguments const& arguments, Context const& context) {
    // Everything that can be wrong with the arguments alone comes before any file is opened.
    Media::RunOptions options = MakeOptions(arguments);
    LaneMaker maker(arguments, context);
    options.makeVideoLane = [&](Media::VideoStreamInfo const& stream) { return maker.Make(stream); };
    bool const showsProgress = context.console.IsTerminal() && !arguments.quiet;
    if (showsProgress)
        options.onProgress = [&](Media::RunProgress const& progress) {
            // The last column stays free: a terminal would go to the next line.
            context.console.SetStatus(RenderProgress(progress, context.console.GetColumns() - 1));
        };
    if (arguments.threads)
        Core::ThreadBudget::Set(*arguments.threads);

    std::stop_source stop;
    StopOnSignals const signals(stop);
    Media::RunResult result = Media::Run(options, stop.get_token());
    context.console.SetStatus({});

    if (arguments.quiet)
        return;
    if (!maker.GetNote().empty())
        result.notes.push_back(maker.GetNote());
    for (std::string const& note : result.notes)
        context.console.Print("tarsel: note: " + note);
    if (showsProgress)
        context.console.Print(Summarise(result, arguments.output));
}

} // namespace

Verb AddRunVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("run", "Pass a media file's picture through effects")->group("Verbs");
    auto const arguments = std::make_shared<RunArguments>();
    command->add_option("INPUT", arguments->input, "Film or still picture to read")
        ->required()
        ->option_text(" ");
    command->add_option("OUTPUT", arguments->output, "File to write; its name tells the container")
        ->required()
        ->option_text(" ");
    AddEffectOption(*command, arguments->effects);
    command->add_flag("--overwrite", arguments->overwrite, "Replace OUTPUT if it exists");
    command->add_option("--video-codec", arguments->videoCodec, "FFmpeg encoder to use, as libx264")
        ->option_text("NAME");
    command->add_option("--video-option", arguments->videoOptions, "Option of the encoder, as crf=18")
        ->option_text("KEY=VALUE")
        ->allow_extra_args(false);
    command->add_option("--at", arguments->at, "Time of the frame for a still picture")
        ->option_text("SECONDS")
        ->check(CheckTime, "");
    command->add_option("--threads", arguments->threads, "Threads that effects may use together")
        ->option_text("N")
        ->check(CLI::Range(1, 1024));
    command->add_flag("--quiet", arguments->quiet, "Print nothing but errors");
    common.AddTo(*command);
    command->footer("EFFECT is \"NAME KEY=VALUE...\"; \"tarsel list\" shows names and keys. Effects see\n"
                    "the picture upright, as its orientation tag asks. Sound, subtitles, chapters and\n"
                    "metadata are copied; so is the picture, unless there are effects or options for\n"
                    "encoding.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel run in.mp4 out.mp4 -e \"flip horizontal=1\" -e \"transpose step=1\"\n"
                    "  tarsel run in.mov out.mkv -e \"transpose step=2\" --video-codec ffv1\n"
                    "  tarsel run in.mp4 still.png -e \"flip vertical=1\" --at 2.5");
    return {command, [arguments](Context const& context) { RunMedia(*arguments, context); }};
}

} // namespace Tarsel::Tools
