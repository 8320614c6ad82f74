#include "Proc/Interfaces/IEffect.h"

namespace Tarsel::Proc {

void IEffect::SetProgressController(SP<Core::IProgressController> const&) {}

TimeToProgress& IEffect::GetProgress() {
    return m_progress;
}

TimeToProgress const& IEffect::GetProgress() const {
    return m_progress;
}

void IEffect::SetProgress(TimeToProgress const& progress) {
    m_progress = progress;
}

Core::Property IEffect::GetStatistic() const {
    return Core::Property();
}

} // namespace Tarsel::Proc
