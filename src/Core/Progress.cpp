#include "Core/Progress.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

namespace Tarsel::Core {

void ProgressControllerStages::SetProgressController(SP<IProgressController> const& controller) {
    m_controller = controller;
}

void ProgressControllerStages::Init(std::vector<int> const& stages) {
    for (int const length : stages)
        if (length < 0)
            Throw<CoreException>(fmt::format("A stage of {} steps: the length must not be negative", length));
    m_stages = stages;
    m_stage = 0;
    m_step = 0;
    m_name.clear();
}

bool ProgressControllerStages::InitStage(int stage, char const* name) {
    if (stage < 0 || static_cast<std::size_t>(stage) >= m_stages.size())
        Throw<CoreException>(
            fmt::format("There is no stage {} among {}, counted from 0", stage, m_stages.size()));
    m_stage = static_cast<std::size_t>(stage);
    m_step = 0;
    m_name = name != nullptr ? name : "";
    return Report();
}

bool ProgressControllerStages::IncProgress() {
    int const length = m_stages.empty() ? 0 : m_stages[m_stage];
    m_step = std::min(m_step + 1, length);
    return Report();
}

bool ProgressControllerStages::Report() const {
    if (!m_controller)
        return true;
    auto const current = m_stages.begin() + static_cast<std::ptrdiff_t>(m_stage);
    std::int64_t const done = std::accumulate(m_stages.begin(), current, std::int64_t{m_step});
    std::int64_t const total = std::accumulate(m_stages.begin(), m_stages.end(), std::int64_t{0});
    // Stages without a single step leave nothing to wait for.
    return m_controller->SetProgress(total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1.0,
                                     m_name);
}

} // namespace Tarsel::Core
