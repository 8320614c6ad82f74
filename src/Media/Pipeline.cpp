#include "Media/Pipeline.h"

#include "Core/ThreadBudget.h"
#include "Media/Stages.h"

namespace Tarsel::Media {

namespace {

constexpr std::chrono::milliseconds s_tick(100);

} // namespace

Pipeline::Pipeline(std::stop_source stop, std::function<void()> onTick)
    : m_stop(std::move(stop)), m_onTick(std::move(onTick)), m_onOneThread(Core::ThreadBudget::Get() == 1) {}

void Pipeline::Run(std::function<void()> produce) {
    if (m_onOneThread) {
        produce();
    } else {
        m_stages.push_back(std::move(produce));
        RunStages(m_stages, m_stop, m_onTick, s_tick);
    }
    if (m_stop.stop_requested())
        throw Stopped();
}

/// Stands in for the calling thread's waiting where that does the work.
void Pipeline::Tick() {
    if (m_stop.stop_requested())
        throw Stopped();
    auto const now = std::chrono::steady_clock::now();
    if (now - m_lastTick < s_tick)
        return;
    m_lastTick = now;
    m_onTick();
}

} // namespace Tarsel::Media
