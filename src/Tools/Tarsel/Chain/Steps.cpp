#include "Tools/Tarsel/Chain/Steps.h"

#include "Core/Throw.h"
#include "Host/EffectStep.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

/// Does `work` on a step; what it throws leaves with the text.
template <class Work>
decltype(auto) OnStep(std::string const& text, Work const& work) {
    try {
        return work(Host::ParseEffectStep(text));
    } catch (boost::exception& exception) {
        exception << Host::TagStep(fmt::format("-e \"{}\"", text));
        throw;
    }
}

/// `make` makes the effect of one step.
template <class Effect, class Make>
std::vector<Step<Effect>> MakeSteps(std::vector<StepText> const& steps, Make const& make) {
    std::vector<Step<Effect>> result;
    result.reserve(steps.size());
    for (StepText const& step : steps)
        result.push_back(
            {OnStep(step.text, make), step.label, nullptr, Host::ParseEffectStep(step.text).times});
    return result;
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

} // namespace

std::vector<StepText> LabelSteps(std::vector<std::string> const& steps) {
    std::vector<StepText> result;
    for (std::string const& text : steps)
        OnStep(text, [&](Host::EffectStep const& step) {
            result.push_back({text, fmt::format("step {} ({})", result.size() + 1, step.classId)});
        });
    return result;
}

SortedSteps SortSteps(Effects const& effects, std::vector<std::string> const& steps) {
    SortedSteps result;
    for (StepText& step : LabelSteps(steps)) {
        std::string const classId = Host::ParseEffectStep(step.text).classId;
        bool const isAudio = IsOfKind(effects, classId, Host::EffectKind::Audio);
        (isAudio ? result.audio : result.picture).push_back(std::move(step));
    }
    return result;
}

std::vector<VideoStep> MakePictureSteps(Effects const& effects, std::vector<StepText> const& steps,
                                        References& references) {
    auto result = MakeSteps<Proc::IOneInputEffectVideo>(steps, [&](Host::EffectStep const& step) {
        return IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo)
                   ? MakePairedEffect(effects, step, references)
                   : Host::MakeVideoEffect(*effects.factory, step);
    });
    for (std::size_t i = 0; i < steps.size(); ++i) {
        Host::EffectStep const step = Host::ParseEffectStep(steps[i].text);
        if (!IsOfKind(effects, step.classId, Host::EffectKind::TwoInputVideo))
            result[i].another = [step, factory = effects.factory] {
                return Host::MakeVideoEffect(*factory, step);
            };
    }
    return result;
}

std::vector<AudioStep> MakeAudioSteps(Effects const& effects, std::vector<StepText> const& steps) {
    return MakeSteps<Proc::IOneInputEffectAudio>(steps, [&](Host::EffectStep const& step) {
        if (std::string const times = Host::Describe(step.times); !times.empty())
            Core::Throw<Proc::SettingsException>(fmt::format(
                "Remove \"{}\": {} works on all of the audio, with the same settings", times, step.classId));
        return Host::MakeAudioEffect(*effects.factory, step);
    });
}

SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix) {
    Proc::SettingsEffectDisplayMatrix const settings(matrix);
    auto effect = effects.factory->CreateVideoEffect(settings.GetClassId(), Proc::ImplNames::DEFAULT, {});
    effect->SetSettings(settings);
    return effect;
}

} // namespace Tarsel::Tools
