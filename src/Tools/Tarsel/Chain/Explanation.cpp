#include "Tools/Tarsel/Chain/Explanation.h"

#include "Conf/PixFmtDescription.h"
#include "Host/StepPlan.h"
#include "Host/VideoChain.h"
#include "Proc/Settings/Settings.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Tools/Tarsel/Console/Json.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

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
Explanations ExplainSteps(std::vector<Step<Effect>> const& steps, SP<Format> format) {
    Explanations result{Show(*format), {}};
    for (Step<Effect> const& step : steps) {
        Host::AtStep(step.label, [&] {
            Host::StepPlan<Format> const plan = Host::PlanStep(step.effect, *format, step.times);
            result.steps.push_back({step.effect->GetSettingsBase().GetClassId(),
                                    step.label,
                                    plan.description,
                                    plan.isFilterText,
                                    plan.idle,
                                    Describe(step.times),
                                    ToText(step.stream),
                                    {},
                                    Show(*plan.output)});
            if (plan.inner)
                result.steps.back().converted = Show(*plan.inner);
            format = plan.output;
        });
    }
    return result;
}

} // namespace

char const* Explanation::GetWork() const noexcept {
    if (!description)
        return "unknown";
    if (description->empty())
        return "none";
    return isFilterText ? "filter" : "own";
}

Explanations Explain(std::vector<VideoStep> const& steps, SP<Conf::IFormatCodecVideo> format) {
    return ExplainSteps(steps, std::move(format));
}

Explanations Explain(std::vector<AudioStep> const& steps, SP<Conf::IFormatCodecAudio> format) {
    return ExplainSteps(steps, std::move(format));
}

std::string ToText(Explanations const& explanations, std::string const& indent) {
    std::string text;
    auto const add = [&](std::string const& line) { text += indent + line + '\n'; };
    add("input: " + explanations.input.words);
    FormatText const* format = &explanations.input;
    for (Explanation const& step : explanations.steps) {
        add(step.label);
        if (!step.stream.empty())
            add("  for audio stream " + step.stream);
        if (step.converted)
            add(fmt::format("  converted to {} and back", step.converted->words));
        if (!step.description)
            add("  does not describe itself");
        else if (step.description->empty())
            add("  " + step.idle);
        else
            add(fmt::format("  {}: {}", step.isFilterText ? "filter" : "built-in", *step.description));
        if (!step.times.empty())
            add("  works " + step.times);
        if (step.output != *format)
            add("  output: " + step.output.words);
        format = &step.output;
    }
    add("output: " + format->words);
    return text;
}

nlohmann::ordered_json ToJson(Explanations const& explanations) {
    Json steps = Json::array();
    for (Explanation const& step : explanations.steps)
        steps.push_back({{"effect", step.classId},
                         {"work", step.GetWork()},
                         {"description", step.description ? Json(*step.description) : Json()},
                         {"idle", OrNull(step.idle)},
                         {"times", OrNull(step.times)},
                         {"stream", OrNull(step.stream)},
                         {"converted", step.converted ? step.converted->json : Json()},
                         {"output", step.output.json}});
    return {{"input", explanations.input.json}, {"steps", std::move(steps)}};
}

} // namespace Tarsel::Tools
