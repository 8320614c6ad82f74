#include "Tools/Tarsel/Steps.h"

#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Orientation.h"
#include "Tools/Tarsel/UsageException.h"

#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

/// Throws unless the plug-in has an effect of that class and kind.
void CheckIsThere(Effects const& effects, std::string const& classId, Host::EffectKind kind) {
    constexpr Core::Site site{"Tools/Tarsel/Steps", "void Tarsel::Tools::CheckIsThere(const Effects &, const "
                                                    "std::string &, Host::EffectKind)"};
    Host::EffectEntry const* other = nullptr;
    for (Host::EffectEntry const& entry : effects.registry->GetEntries()) {
        if (entry.classId != classId)
            continue;
        if (entry.GetKind() == kind)
            return;
        other = &entry;
    }
    if (other != nullptr)
        Core::Throw<UsageException>(
            site, fmt::format("works on {} input, not on {}", GetName(other->GetKind()), GetName(kind)));
    Core::Throw<UsageException>(
        site, fmt::format("the plug-in \"{}\" has no such effect", effects.plugin.string()));
}

/// `make` creates an effect of `kind` by its class.
template <class Effect, class Make>
std::vector<SP<Effect>> MakeEffects(Effects const& effects, std::vector<Host::EffectStep> const& steps,
                                    Host::EffectKind kind, Make const& make) {
    std::vector<SP<Effect>> result;
    for (Host::EffectStep const& step : steps) {
        try {
            CheckIsThere(effects, step.classId, kind);
            SP<Effect> const effect = make(step.classId);
            effect->SetSettings(*step.settings);
            result.push_back(effect);
        } catch (Exception& exception) {
            exception << Host::TagStep(GetStepLabel(result.size(), step.classId));
            throw;
        }
    }
    return result;
}

} // namespace

std::string GetStepLabel(std::size_t index, std::string const& classId) {
    return fmt::format("step {} ({})", index + 1, classId);
}

std::vector<Host::EffectStep> ParseSteps(std::vector<std::string> const& texts) {
    std::vector<Host::EffectStep> steps;
    for (std::string const& text : texts) {
        try {
            steps.push_back(Host::ParseEffectStep(text));
        } catch (Exception& exception) {
            exception << Host::TagStep(fmt::format("-e \"{}\"", text));
            throw;
        }
    }
    return steps;
}

std::vector<SP<Proc::IOneInputEffectVideo>> MakeVideoEffects(Effects const& effects,
                                                             std::vector<Host::EffectStep> const& steps) {
    return MakeEffects<Proc::IOneInputEffectVideo>(
        effects, steps, Host::EffectKind::Video, [&](std::string const& classId) {
            return effects.factory->CreateVideoEffect(classId, Proc::ImplNames::DEFAULT, {});
        });
}

std::vector<SP<Proc::IOneInputEffectAudio>> MakeAudioEffects(Effects const& effects,
                                                             std::vector<Host::EffectStep> const& steps) {
    return MakeEffects<Proc::IOneInputEffectAudio>(
        effects, steps, Host::EffectKind::Audio, [&](std::string const& classId) {
            return effects.factory->CreateAudioEffect(classId, Proc::ImplNames::DEFAULT, {});
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
