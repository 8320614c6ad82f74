#include "Tools/Tarsel/Steps.h"

#include "Host/EffectStep.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Orientation.h"

#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

/// `make` makes the effect of one step.
template <class Effect>
std::vector<SP<Effect>> MakeEffects(Effects const& effects, std::vector<std::string> const& steps,
                                    SP<Effect> (*make)(Host::EffectFactory const&, Host::EffectStep const&)) {
    std::vector<SP<Effect>> result;
    for (std::string const& text : steps) {
        try {
            result.push_back(make(*effects.factory, Host::ParseEffectStep(text)));
        } catch (boost::exception& exception) {
            exception << Host::TagStep(fmt::format("-e \"{}\"", text));
            throw;
        }
    }
    return result;
}

} // namespace

std::string GetStepLabel(std::size_t index, std::string const& classId) {
    return fmt::format("step {} ({})", index + 1, classId);
}

std::vector<SP<Proc::IOneInputEffectVideo>> MakeVideoEffects(Effects const& effects,
                                                             std::vector<std::string> const& steps) {
    return MakeEffects(effects, steps, Host::MakeVideoEffect);
}

std::vector<SP<Proc::IOneInputEffectAudio>> MakeAudioEffects(Effects const& effects,
                                                             std::vector<std::string> const& steps) {
    return MakeEffects(effects, steps, Host::MakeAudioEffect);
}

SP<Proc::IOneInputEffectVideo> MakeOrientationEffect(Effects const& effects,
                                                     Conf::DisplayMatrix const& matrix) {
    Proc::SettingsEffectDisplayMatrix const settings(matrix);
    auto effect = effects.factory->CreateVideoEffect(settings.GetClassId(), Proc::ImplNames::DEFAULT, {});
    effect->SetSettings(settings);
    return effect;
}

} // namespace Tarsel::Tools
