#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Host/StepPlan.h"
#include "Host/VideoChain.h"
#include "Proc/Settings/Settings.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Tools/Tarsel/Chain/FrameText.h"
#include "Tools/Tarsel/Chain/Steps.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

struct ExplainArguments {
    StepArguments steps;
    std::string frame;
    std::string audio;
    bool json = false;
};

/// A format in the two ways it is shown.
struct FormatText {
    Json json;
    /// "720x576 yuv420p, pixels 16:15"
    std::string words;

    bool operator==(FormatText const& other) const { return words == other.words; }
};

/// What one step does, and what it makes of the format.
struct Explanation {
    std::string classId;
    std::string label;
    /// Nothing when the effect does not tell; "" when what comes in passes untouched.
    std::optional<std::string> description;
    bool isFilterText = false;
    /// What would make an effect work that passes everything untouched; "" for others.
    std::string idle;
    /// When it works; "" for always.
    std::string times;
    /// What the effect gets, where the input is converted for it and the result back.
    std::optional<FormatText> converted;
    FormatText output;
};

/// A format, and for each step what becomes of it.
struct Explanations {
    FormatText input;
    std::vector<Explanation> steps;
};

FormatText Show(Conf::IFormatCodecVideo const& format) {
    Conf::FrameInfo const frame = format.GetFrameInfo();
    std::string const pixels = Conf::PixFmtDescription::Find(format.GetPixelFormat()).GetName();
    std::string words = fmt::format("{}x{} {}", frame.width, frame.height, pixels);
    if (frame.aspectNum != frame.aspectDen)
        words += fmt::format(", pixels {}:{}", frame.aspectNum, frame.aspectDen);
    return {{{"width", frame.width},
             {"height", frame.height},
             {"pixelFormat", pixels},
             {"pixelAspect", {frame.aspectNum, frame.aspectDen}}},
            std::move(words)};
}

FormatText Show(Conf::IFormatCodecAudio const& format) {
    Conf::SampleInfo const info = format.GetSampleInfo();
    return {{{"rate", info.rate},
             {"sampleFormat", Conf::SampleFmtRecord::Find(info.format).name},
             {"channelLayout", info.layout.GetName()}},
            Proc::AudioText(info)};
}

template <class Effect, class Format>
Explanations Explain(std::vector<Step<Effect>> const& steps, SP<Format> format) {
    Explanations result{Show(*format), {}};
    for (auto const& [effect, label, another, times] : steps) {
        try {
            Host::StepPlan<Format> const plan = Host::PlanStep(effect, *format, times);
            result.steps.push_back({effect->GetSettingsBase().GetClassId(),
                                    label,
                                    plan.description,
                                    plan.isFilterText,
                                    plan.idle,
                                    Describe(times),
                                    {},
                                    Show(*plan.output)});
            if (plan.inner)
                result.steps.back().converted = Show(*plan.inner);
            format = plan.output;
        } catch (boost::exception& exception) {
            exception << Host::TagStep(label);
            throw;
        }
    }
    return result;
}

/// Whose work a step is.
char const* GetWork(Explanation const& step) {
    if (!step.description)
        return "unknown";
    if (step.description->empty())
        return "none";
    return step.isFilterText ? "filter" : "own";
}

/// "step 1 (flip)" and below it, indented, what it does; a step's output where it differs from its input.
std::string ToText(Explanations const& explanations) {
    std::string text = fmt::format("input: {}\n", explanations.input.words);
    FormatText const* format = &explanations.input;
    for (Explanation const& step : explanations.steps) {
        text += step.label + '\n';
        if (step.converted)
            text += fmt::format("  converted to {} and back\n", step.converted->words);
        if (!step.description)
            text += "  does not describe itself\n";
        else if (step.description->empty())
            text += fmt::format("  {}\n", step.idle);
        else
            text += fmt::format("  {}: {}\n", step.isFilterText ? "filter" : "built-in", *step.description);
        if (!step.times.empty())
            text += fmt::format("  works {}\n", step.times);
        if (step.output != *format)
            text += fmt::format("  output: {}\n", step.output.words);
        format = &step.output;
    }
    return text + fmt::format("output: {}\n", format->words);
}

/// An object with "input", the format that goes in, and "steps", an array of objects with
/// - "effect", its class id;
/// - "work": "filter", a text of FFmpeg's filters; "own", work done without them; "none", what comes in
/// passes
///   untouched; "unknown", the effect does not tell;
/// - "description": that text, or words for people; "" for "none", null for "unknown";
/// - "idle": for "none" what would make the effect work, else null;
/// - "times": when it works, and what moves, in words; null for all the time;
/// - "converted": the format that the effect gets, where the host converts to it and back, else null;
/// - "output", the format that comes out.
/// A picture's format has "width", "height", "pixelFormat" and "pixelAspect", an array of two; that of audio
/// "rate", "sampleFormat" and "channelLayout".
std::string ToJson(Explanations const& explanations) {
    Json steps = Json::array();
    for (Explanation const& step : explanations.steps)
        steps.push_back({{"effect", step.classId},
                         {"work", GetWork(step)},
                         {"description", step.description ? Json(*step.description) : Json()},
                         {"idle", step.idle.empty() ? Json() : Json(step.idle)},
                         {"times", step.times.empty() ? Json() : Json(step.times)},
                         {"converted", step.converted ? step.converted->json : Json()},
                         {"output", step.output.json}});
    Json const document{{"input", explanations.input.json}, {"steps", std::move(steps)}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Explanations ExplainPicture(ExplainArguments const& arguments, std::string const& plugin) {
    FrameText const input = ParseFrameText(arguments.frame);
    References references; // which nobody opens
    return Explain(MakePictureSteps(LoadEffects(plugin), ReadSteps(arguments.steps), references),
                   SP<Conf::IFormatCodecVideo>(MakeSP<Conf::FormatCodecVideo>(input.format, input.frame)));
}

Explanations ExplainAudio(ExplainArguments const& arguments, std::string const& plugin) {
    Conf::SampleInfo const input = ParseSampleText(arguments.audio);
    return Explain(MakeAudioSteps(LoadEffects(plugin), ReadSteps(arguments.steps)),
                   SP<Conf::IFormatCodecAudio>(MakeSP<Conf::FormatCodecAudio>(input)));
}

void RunExplain(ExplainArguments const& arguments, Context const& context) {
    if (arguments.steps.IsEmpty())
        Core::Throw<UsageException>("Add -e EFFECT or --chain FILE");
    if (arguments.frame.empty() == arguments.audio.empty())
        Core::Throw<UsageException>("Give the input format, either --frame or --audio");
    auto const explain = arguments.audio.empty() ? ExplainPicture : ExplainAudio;
    Explanations const explanations = explain(arguments, context.options.plugin);
    WriteOutput(arguments.json ? ToJson(explanations) : ToText(explanations));
}

} // namespace

Verb AddExplainVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("explain", "Show what effects would do, without a file")->group("Verbs");
    auto const arguments = std::make_shared<ExplainArguments>();
    AddStepOptions(*command, arguments->steps);
    command->add_option("--frame", arguments->frame, "Format of the frames, WxH:FORMAT[:NUM/DEN]")
        ->option_text("FRAME");
    command->add_option("--audio", arguments->audio, "Format of the audio, RATE:FORMAT:LAYOUT")
        ->option_text("AUDIO");
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Shows what each effect does. A \"filter\" line is a filter text for \"ffmpeg -vf\"\n"
                    "or \"ffmpeg -af\"; \"built-in\" work uses no FFmpeg filters. \"converted\" names\n"
                    "the format that frames are converted to for the effect, and back from.\n"
                    "NUM/DEN is the pixel aspect ratio; default: 1/1. reference=FILE is not opened.\n\n"
                    "Examples:\n"
                    "  tarsel explain -e \"flip horizontal=1\" --frame 1920x1080:yuv420p\n"
                    "  tarsel explain -e \"transpose step=1\" --frame 720x576:yuv420p:16/15 --json");
    return {command, [arguments](Context const& context) { RunExplain(*arguments, context); }};
}

} // namespace Tarsel::Tools
