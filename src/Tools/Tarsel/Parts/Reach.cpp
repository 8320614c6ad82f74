#include "Tools/Tarsel/Parts/Reach.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Settings.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

namespace Tarsel::Tools {

Reach FindReach(std::vector<VideoStep> const& steps) {
    Reach reach;
    for (VideoStep const& step : steps) {
        auto const* const details = dynamic_cast<Proc::IEffectDetailsVideo const*>(step.effect.get());
        bool const isIdle = step.times.moving.empty() && step.effect->GetSettingsBase().IsEmpty();
        if (isIdle || (details != nullptr && details->GetTraits().frameIndependent))
            continue;
        constexpr std::int32_t without = Proc::EffectTraits::s_withoutEnd;
        if (details == nullptr || details->GetTraits().looksBack == without ||
            details->GetTraits().looksAhead == without)
            Core::Throw<UsageException>(fmt::format("Apply {} in a run of the whole video: each of its "
                                                    "frames depends on all before, so it cannot "
                                                    "work on a part",
                                                    step.label));
        reach.before += details->GetTraits().looksBack;
        reach.after += details->GetTraits().looksAhead;
    }
    return reach;
}

} // namespace Tarsel::Tools
