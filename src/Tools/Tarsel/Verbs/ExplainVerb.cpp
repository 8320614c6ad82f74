#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Media/Run.h"
#include "Proc/Interfaces/FiltersOnly.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Chain/Explanation.h"
#include "Tools/Tarsel/Chain/FrameText.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/PlanText.h"
#include "Tools/Tarsel/Console/ShellText.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"
#include "Tools/Tarsel/Work/DryRun.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Of the JSON about a run: raised when a member changes its meaning or goes, not when one is added.
constexpr int s_explainVersion = 1;

struct ExplainArguments {
    RunArguments run;
    std::string frame;
    std::string audio;
    bool json = false;

    bool HasFormat() const noexcept { return !frame.empty() || HasAudioFormat(); }
    /// Otherwise it chooses a stream.
    bool HasAudioFormat() const noexcept { return audio.find(':') != std::string::npos; }
};

/// "--audio" chooses a stream, as that of "run" does, or says the format of audio.
void AddAudioOption(CLI::App& command, std::string& audio) {
    command.remove_option(command.get_option("--audio"));
    auto const check = [](std::string const& text) {
        return text.find(':') != std::string::npos ? "" : CheckStreamWhich(text);
    };
    CLI::Option* const option =
        command.add_option("--audio", audio, "As for run; or, for INPUT, RATE:FORMAT:LAYOUT")
            ->option_text("WHICH")
            ->check(check, "");
    command.get_option("--no-audio")->excludes(option);
}

void Write(Json const& document) {
    WriteOutput(document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n');
}

/// What the steps do with a format; nothing where there is neither.
template <class Steps, class Format>
std::optional<Explanations> ExplainKind(Steps const& steps, SP<Format> format, char const* option,
                                        char const* kind) {
    if (format == nullptr && !steps.empty())
        Core::Throw<UsageException>(fmt::format("Add {}: {} works on {}", option, steps.front().label, kind));
    return format != nullptr ? std::optional(Explain(steps, std::move(format))) : std::nullopt;
}

/// What effects would do with input of a format.
void ExplainFormats(ExplainArguments const& arguments, Context const& context) {
    if (arguments.run.steps.IsEmpty())
        Core::Throw<UsageException>("Add -e EFFECT or --chain FILE");
    SP<Conf::IFormatCodecVideo> frames;
    SP<Conf::IFormatCodecAudio> samples;
    if (!arguments.frame.empty()) {
        FrameText const read = ParseFrameText(arguments.frame);
        frames = MakeSP<Conf::FormatCodecVideo>(read.format, read.frame);
    }
    if (arguments.HasAudioFormat())
        samples = MakeSP<Conf::FormatCodecAudio>(ParseSampleText(arguments.audio));
    Effects const effects = LoadEffects(context.options.plugin);
    SortedSteps const sorted = SortSteps(effects, ReadSteps(arguments.run.steps));
    References references; // which nobody opens
    auto const video = ExplainKind(MakePictureSteps(effects, sorted.picture, references), frames,
                                   "--frame WxH:FORMAT", "video");
    auto const audio =
        ExplainKind(MakeAudioSteps(effects, sorted.audio), samples, "--audio RATE:FORMAT:LAYOUT", "audio");
    if (!video || !audio) {
        Explanations const& only = video ? *video : *audio;
        arguments.json ? Write(ToJson(only)) : WriteOutput(ToText(only));
    } else if (arguments.json)
        Write({{"video", ToJson(*video)}, {"audio", ToJson(*audio)}});
    else
        WriteOutput("video\n" + ToText(*video, "  ") + "audio\n" + ToText(*audio, "  "));
}

std::string Describe(RunArguments const& arguments, DryRun const& dry) {
    std::string text = fmt::format("{} ({}) to {} ({})\n", arguments.media.input, dry.plan.inputContainer,
                                   arguments.media.output, dry.plan.outputContainer);
    for (std::size_t i = 0; i < dry.plan.streams.size(); ++i) {
        text += ToText(dry.plan.streams[i]);
        if (auto const steps = dry.steps.find(i); steps != dry.steps.end())
            text += ToText(steps->second, "    ");
    }
    for (std::string const& note : dry.notes)
        text += "note: " + note + '\n';
    return text +
           (dry.command.words.empty() ? "no ffmpeg command: " + dry.command.obstacle
                                      : QuoteForShell(dry.command.words)) +
           '\n';
}

Json DescribeForPrograms(RunArguments const& arguments, DryRun const& dry) {
    Json streams = Json::array();
    for (std::size_t i = 0; i < dry.plan.streams.size(); ++i) {
        auto const steps = dry.steps.find(i);
        streams.push_back(ToJson(dry.plan.streams[i]));
        streams.back()["steps"] = steps != dry.steps.end() ? ToJson(steps->second) : Json();
    }
    bool const hasCommand = !dry.command.words.empty();
    return {{"version", s_explainVersion},
            {"input", arguments.media.input},
            {"output", arguments.media.output},
            {"streams", std::move(streams)},
            {"notes", dry.notes},
            {"ffmpeg",
             {{"command", hasCommand ? Json(dry.command.words) : Json()},
              {"obstacle", hasCommand ? Json() : Json(dry.command.obstacle)}}}};
}

/// Without OUTPUT a file of the input's kind is meant.
RunArguments Complete(ExplainArguments const& explain) {
    RunArguments arguments = explain.run;
    arguments.media.streams.audio.which = explain.audio;
    if (!arguments.media.output.empty())
        return arguments;
    std::string const extension = arguments.media.format.empty()
                                      ? std::filesystem::path(arguments.media.input).extension().string()
                                      : '.' + arguments.media.format;
    if (extension.empty())
        Core::Throw<UsageException>("Add OUTPUT or --format: INPUT has no extension to take for it");
    arguments.media.output = (Media::IsSequence(arguments.media.input) ? "output%d" : "output") + extension;
    arguments.media.overwrite = true;
    return arguments;
}

void RunExplain(ExplainArguments const& arguments, Context const& context) {
    Proc::SetFiltersOnly(arguments.run.filtersOnly);
    if (arguments.run.media.input.empty() == !arguments.HasFormat())
        Core::Throw<UsageException>("Give INPUT, or the format of the input as --frame or --audio");
    if (arguments.HasFormat()) {
        ExplainFormats(arguments, context);
        return;
    }
    RunArguments const run = Complete(arguments);
    if (run.media.threads)
        Core::ThreadBudget::Set(*run.media.threads);
    DryRun const dry = PlanRun(run, context);
    arguments.json ? Write(DescribeForPrograms(run, dry)) : WriteOutput(Describe(run, dry));
}

} // namespace

Verb AddExplainVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("explain", "Show what a run or effects would do")->group("Verbs");
    auto const arguments = std::make_shared<ExplainArguments>();
    arguments->run.AddTo(*command);
    for (char const* const file : {"INPUT", "OUTPUT"})
        command->get_option(file)->required(false);
    command->add_option("--frame", arguments->frame, "Instead of INPUT: WxH:FORMAT[:NUM/DEN]")
        ->option_text("FRAME");
    AddAudioOption(*command, arguments->audio);
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Takes what \"run\" takes, and tells what would become of each stream and why, what\n"
                    "each effect does, what would be lost, and a command of ffmpeg that does the\n"
                    "same, where there is one. Nothing is written. Without OUTPUT a file of INPUT's\n"
                    "kind is meant. A \"filter\" line is a filter text for \"ffmpeg -vf\" or\n"
                    "\"ffmpeg -af\"; \"built-in\" work uses no FFmpeg filters. \"converted\" names the\n"
                    "format that frames are converted to for the effect, and back from. NUM/DEN is\n"
                    "the pixel aspect ratio; default: 1/1. With --frame or --audio formats take the\n"
                    "place of files.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel explain in.mp4 out.webm -e \"flip horizontal=1\"\n"
                    "  tarsel explain -e \"flip horizontal=1\" --frame 1920x1080:yuv420p\n"
                    "  tarsel explain -e \"transpose step=1\" --frame 720x576:yuv420p:16/15 --json");
    return {command, [arguments](Context const& context) { RunExplain(*arguments, context); }};
}

} // namespace Tarsel::Tools
