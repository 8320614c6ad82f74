#include "Conf/FormatCodecAudio.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Settings.h"
#include "Tools/Tarsel/FrameText.h"
#include "Tools/Tarsel/StandardStreams.h"
#include "Tools/Tarsel/Steps.h"
#include "Tools/Tarsel/UsageException.h"
#include "Tools/Tarsel/Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

struct ExplainArguments {
    std::vector<std::string> effects;
    std::string frame;
    std::string audio;
    bool json = false;
};

/// What one step does, and what it makes of the format.
struct Explanation {
    std::string classId;
    /// Nothing when the effect does not tell; "" when what comes in passes untouched.
    std::optional<std::string> description;
    Json output;
};

/// A format, and for each step what becomes of it.
struct Explanations {
    Json input;
    std::vector<Explanation> steps;
};

Json FormatToJson(Conf::IFormatCodecVideo const& format) {
    Conf::FrameInfo const frame = format.GetFrameInfo();
    return {{"width", frame.width},
            {"height", frame.height},
            {"pixelFormat", Conf::PixFmtDescription::Find(format.GetPixelFormat()).GetName()},
            {"pixelAspect", {frame.aspectNum, frame.aspectDen}}};
}

Json FormatToJson(Conf::IFormatCodecAudio const& format) {
    Conf::SampleInfo const info = format.GetSampleInfo();
    return {{"rate", info.rate},
            {"sampleFormat", Conf::SampleFmtRecord::Find(info.format).name},
            {"channelLayout", info.layout.GetName()}};
}

/// What the effect makes of the format where a chain drives it.
void Update(SP<Proc::IOneInputEffectVideo> const& effect, SP<Conf::IFormatCodecVideo>& format) {
    Host::VideoChain chain;
    chain.Append(effect);
    chain.UpdateFormatCodec(format);
}

void Update(SP<Proc::IOneInputEffectAudio> const& effect, SP<Conf::IFormatCodecAudio>& format) {
    effect->UpdateFormatCodec(format);
}

/// `Details` is the interface through which effects of this kind describe themselves.
template <class Details, class Effect, class Format>
Explanations Explain(std::vector<Step<Effect>> const& steps, SP<Format> format) {
    Explanations result{FormatToJson(*format), {}};
    for (auto const& [effect, label] : steps) {
        Explanation step{effect->GetSettingsBase().GetClassId(), {}, {}};
        try {
            if (auto const* details = dynamic_cast<Details const*>(effect.get()))
                step.description = details->Describe(*format);
            Update(effect, format);
        } catch (boost::exception& exception) {
            exception << Host::TagStep(label);
            throw;
        }
        step.output = FormatToJson(*format);
        result.steps.push_back(std::move(step));
    }
    return result;
}

std::string ToText(Explanations const& explanations) {
    std::string text;
    for (Explanation const& step : explanations.steps) {
        if (!step.description)
            text += "(does not tell what it does)";
        else if (step.description->empty())
            text += "(passes frames untouched)";
        else
            text += *step.description;
        text += '\n';
    }
    return text;
}

/// An object with "input", the format that goes in, and "steps", an array of objects with "effect";
/// "description", null when the effect does not tell and "" when what comes in passes untouched; and
/// "output", the format that comes out. A picture's format has "width", "height", "pixelFormat" and
/// "pixelAspect", an array of two; that of sound "rate", "sampleFormat" and "channelLayout".
std::string ToJson(Explanations const& explanations) {
    Json steps = Json::array();
    for (Explanation const& step : explanations.steps)
        steps.push_back({{"effect", step.classId},
                         {"description", step.description ? Json(*step.description) : Json()},
                         {"output", step.output}});
    Json const document{{"input", explanations.input}, {"steps", std::move(steps)}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Explanations ExplainPicture(ExplainArguments const& arguments, std::string const& plugin) {
    FrameText const input = ParseFrameText(arguments.frame);
    References references; // which nobody opens
    return Explain<Proc::IEffectDetailsVideo>(
        MakePictureSteps(LoadEffects(plugin), LabelSteps(arguments.effects), references),
        SP<Conf::IFormatCodecVideo>(MakeSP<Conf::FormatCodecVideo>(input.format, input.frame)));
}

Explanations ExplainSound(ExplainArguments const& arguments, std::string const& plugin) {
    Conf::SampleInfo const input = ParseSampleText(arguments.audio);
    return Explain<Proc::IEffectDetailsAudio>(
        MakeSoundSteps(LoadEffects(plugin), LabelSteps(arguments.effects)),
        SP<Conf::IFormatCodecAudio>(MakeSP<Conf::FormatCodecAudio>(input)));
}

void RunExplain(ExplainArguments const& arguments, Context const& context) {
    if (arguments.frame.empty() == arguments.audio.empty())
        Core::Throw<UsageException>(
            {"Tools/Tarsel/ExplainVerb",
             "void Tarsel::Tools::RunExplain(const ExplainArguments &, const Context &)"},
            "explain wants the format that goes in: either --frame or --audio");
    auto const explain = arguments.audio.empty() ? ExplainPicture : ExplainSound;
    Explanations const explanations = explain(arguments, context.options.plugin);
    WriteOutput(arguments.json ? ToJson(explanations) : ToText(explanations));
}

} // namespace

Verb AddExplainVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("explain", "Show what effects would do, without media")->group("Verbs");
    auto const arguments = std::make_shared<ExplainArguments>();
    AddEffectOption(*command, arguments->effects)->required();
    command->add_option("--frame", arguments->frame, "Pictures, WIDTHxHEIGHT:FORMAT[:NUM/DEN]")
        ->option_text("PICTURES");
    command->add_option("--audio", arguments->audio, "Sound, RATE:FORMAT:LAYOUT")->option_text("SOUND");
    command->add_flag("--json", arguments->json, "Write JSON, for programs");
    common.AddTo(*command);
    command->footer("Prints one line for each effect: the work as the effect gives it to its engine.\n"
                    "EFFECT is \"NAME KEY=VALUE...\". NUM/DEN is a pixel's shape, square without it.\n"
                    "The reference=FILE of effects on two pictures is not opened.\n\n"
                    "Examples:\n"
                    "  tarsel explain -e \"flip horizontal=1\" --frame 1920x1080:yuv420p\n"
                    "  tarsel explain -e \"transpose step=1\" --frame 720x576:yuv420p:16/15 --json");
    return {command, [arguments](Context const& context) { RunExplain(*arguments, context); }};
}

} // namespace Tarsel::Tools
