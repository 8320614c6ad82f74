#include "Tools/Tarsel/Chain/Steps.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/ChainFile.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"
#include "Tools/Tarsel/Console/WholeFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// `make` makes the effect of one step.
template <class Effect, class Make>
std::vector<Step<Effect>> MakeSteps(std::vector<AskedStep> const& steps, Make const& make) {
    std::vector<Step<Effect>> result;
    result.reserve(steps.size());
    for (AskedStep const& asked : steps)
        result.push_back({Host::AtStep(asked.origin, [&] { return make(asked.step); }), asked.label, nullptr,
                          asked.step.times, asked.audio});
    return result;
}

/// Appends the steps to a chain that nobody feeds, for what it refuses.
template <class Chain, class Effect>
void CheckTimes(std::vector<AskedStep> const& asked, std::vector<Step<Effect>> const& steps) {
    Chain chain;
    for (std::size_t i = 0; i < steps.size(); ++i)
        Host::AtStep(asked[i].origin, [&] {
            chain.Append(steps[i].effect, steps[i].label, steps[i].another, steps[i].times);
        });
}

bool IsOfKind(Effects const& effects, std::string const& classId, Host::EffectKind kind) {
    auto const* const entry = effects.registry->Find(classId, Proc::ImplNames::DEFAULT);
    return entry != nullptr && entry->GetKind() == kind;
}

SP<Proc::IOneInputEffectVideo> MakePairedEffect(Effects const& effects, Host::EffectStep step,
                                                References& references) {
    auto const reference = Host::TakeSetting(step, "reference");
    if (!reference || reference->empty())
        Core::Throw<Proc::SettingsException>(
            fmt::format("Add reference=FILE, a video or an image: {} works on two inputs", step.classId));
    auto effect = Host::MakeTwoInputVideoEffect(*effects.factory, step);
    return Host::PairEffect(std::move(effect), references.Add(*reference));
}

/// "audio:1/reverb", as users write it: the effect's name, with the stream beside it.
Host::ChainFileStep ParseStep(std::string const& text) {
    constexpr std::string_view lead = "audio:";
    Host::ChainFileStep parsed{Host::ParseEffectStep(text)};
    std::string& classId = parsed.step.classId;
    std::size_t const slash = classId.find('/');
    if (!classId.starts_with(lead) || slash == std::string::npos || slash == lead.size())
        return parsed;
    parsed.stream = classId.substr(lead.size(), slash - lead.size());
    classId.erase(0, slash + 1);
    return parsed;
}

/// The audio that a step is meant for; "" for all.
Media::StreamChoice ReadStream(std::string const& stream) {
    if (stream.empty())
        return {};
    auto const choice = ParseStreamChoice(stream);
    if (!choice)
        Core::Throw<Proc::SettingsException>(fmt::format(
            "Name the audio stream by number, such as 1, or language, such as fra, not \"{}\"", stream));
    return *choice;
}

} // namespace

std::optional<Media::StreamChoice> ParseStreamChoice(std::string const& text) {
    constexpr int mostStreams = 9999;
    auto const isLetter = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
    if (auto const number = Core::TextToInt64(text); number && *number >= 0 && *number <= mostStreams)
        return Media::StreamChoice::Number(static_cast<int>(*number));
    bool const isLanguage = text.size() > 1 && std::ranges::all_of(text, isLetter);
    return isLanguage ? std::optional(Media::StreamChoice::Language(text)) : std::nullopt;
}

std::string ToText(Media::StreamChoice const& choice) {
    return choice.by == Media::StreamChoice::By::Number ? std::to_string(choice.number) : choice.language;
}

std::vector<AskedStep> ReadSteps(StepArguments const& arguments) {
    std::vector<AskedStep> steps;
    auto const add = [&](Host::ChainFileStep read, std::string origin) {
        auto const stream = Host::AtStep(origin, [&] { return ReadStream(read.stream); });
        std::string label = fmt::format("step {} ({})", steps.size() + 1, read.step.classId);
        steps.push_back({std::move(read.step), std::move(origin), std::move(label), stream});
    };
    if (!arguments.chainText.empty())
        for (auto& step : Host::ReadChain(arguments.chainText)) {
            std::string origin = fmt::format("step {}", steps.size() + 1);
            add(std::move(step), std::move(origin));
        }
    if (std::string const& file = arguments.chainFile; !file.empty()) {
        std::string const text = ReadWholeFile(file);
        for (auto& step : Host::AtStep(file, [&] { return Host::ReadChain(text); })) {
            std::string origin = fmt::format("{}:{}", file, step.line);
            add(std::move(step), std::move(origin));
        }
    }
    for (std::string const& text : arguments.effects) {
        std::string origin = fmt::format("-e \"{}\"", text);
        add(Host::AtStep(origin, [&] { return ParseStep(text); }), origin);
    }
    return steps;
}

std::string WriteChain(std::vector<AskedStep> const& steps) {
    std::vector<Host::ChainFileStep> written;
    for (AskedStep const& step : steps)
        written.push_back({step.step, ToText(step.audio)});
    return Host::WriteChain(written);
}

SortedSteps SortSteps(Effects const& effects, std::vector<AskedStep> steps) {
    SortedSteps result;
    for (AskedStep& step : steps) {
        bool const isAudio = IsOfKind(effects, step.step.classId, Host::EffectKind::Audio);
        if (step.audio != Media::StreamChoice() &&
            IsOfKind(effects, step.step.classId, Host::EffectKind::Video))
            Host::AtStep(step.origin, [&] {
                Core::Throw<Proc::SettingsException>(
                    fmt::format("Remove the audio stream: {} works on video", step.step.classId));
            });
        (isAudio ? result.audio : result.picture).push_back(std::move(step));
    }
    return result;
}

std::vector<VideoStep> MakePictureSteps(Effects const& effects, std::vector<AskedStep> const& steps,
                                        References& references) {
    auto result = MakeSteps<Proc::IOneInputEffectVideo>(steps, [&](Host::EffectStep const& step) {
        return IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo)
                   ? MakePairedEffect(effects, step, references)
                   : Host::MakeVideoEffect(*effects.factory, step);
    });
    for (std::size_t i = 0; i < steps.size(); ++i) {
        Host::EffectStep const& step = steps[i].step;
        if (!IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo))
            result[i].another = [step, factory = effects.factory] {
                return Host::MakeVideoEffect(*factory, step);
            };
    }
    CheckTimes<Host::VideoChain>(steps, result);
    return result;
}

std::vector<AudioStep> MakeAudioSteps(Effects const& effects, std::vector<AskedStep> const& steps) {
    auto result = MakeSteps<Proc::IOneInputEffectAudio>(
        steps, [&](Host::EffectStep const& step) { return Host::MakeAudioEffect(*effects.factory, step); });
    for (std::size_t i = 0; i < steps.size(); ++i)
        result[i].another = [step = steps[i].step, factory = effects.factory] {
            return Host::MakeAudioEffect(*factory, step);
        };
    CheckTimes<Host::AudioChain>(steps, result);
    return result;
}

SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix) {
    Proc::SettingsEffectDisplayMatrix const settings(matrix);
    auto effect = effects.factory->CreateVideoEffect(settings.GetClassId(), Proc::ImplNames::DEFAULT, {});
    effect->SetSettings(settings);
    return effect;
}

} // namespace Tarsel::Tools
