#include "Host/VideoChain.h"

#include "Core/Throw.h"
#include "Host/VideoStep.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Host {

VideoChain::VideoChain() = default;

VideoChain::~VideoChain() = default;

void VideoChain::Append(SP<Proc::IOneInputEffectVideo> const& effect, std::string label) {
    if (!effect)
        Core::Throw<Proc::EffectException>(
            {"Host/VideoChain",
             "void Tarsel::Host::VideoChain::Append(const SP<IOneInputEffectVideo> &, std::string)"},
            "A chain cannot take a null effect");
    if (label.empty())
        label = fmt::format("step {} ({})", ++m_numbered, effect->GetSettingsBase().GetClassId());
    m_steps.emplace_back(effect, std::move(label));
}

bool VideoChain::IsEmpty() const noexcept {
    return m_steps.empty();
}

void VideoChain::Feed(SP<Proc::IDataVideo> const& frame) {
    if (!frame)
        Core::Throw<Proc::EffectException>(
            {"Host/VideoChain", "virtual void Tarsel::Host::VideoChain::Feed(const SP<IDataVideo> &)"},
            "A null frame cannot be fed");
    Drive(0, frame);
}

SP<Proc::IDataVideo> VideoChain::Take() {
    if (m_ready.empty())
        return {};
    SP<Proc::IDataVideo> frame = std::move(m_ready.front());
    m_ready.pop_front();
    return frame;
}

void VideoChain::End() {
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        m_steps[i].End();
        while (SP<Proc::IDataVideo> held = m_steps[i].Take())
            Drive(i + 1, std::move(held));
    }
}

void VideoChain::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    for (VideoStep const& step : m_steps)
        step.UpdateFormatCodec(format);
}

std::vector<Core::Property> VideoChain::GetStatistics() const {
    std::vector<Core::Property> statistics;
    for (VideoStep const& step : m_steps)
        statistics.push_back(step.GetStatistic());
    return statistics;
}

std::vector<std::string> VideoChain::GetNotes() const {
    std::vector<std::string> notes;
    for (VideoStep const& step : m_steps)
        notes.insert(notes.end(), step.GetNotes().begin(), step.GetNotes().end());
    return notes;
}

/// Passes one frame to step `from`, and whatever that gives to the steps after it: each result is taken
/// before the next is made, so that no step queues more than its own look-ahead.
void VideoChain::Drive(std::size_t from, SP<Proc::IDataVideo> frame) {
    if (from == m_steps.size()) {
        m_ready.push_back(std::move(frame));
        return;
    }
    m_steps[from].Feed(frame);
    frame.reset();
    while (SP<Proc::IDataVideo> result = m_steps[from].Take())
        Drive(from + 1, std::move(result));
}

} // namespace Tarsel::Host
