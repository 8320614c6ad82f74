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
    while (m_ending < m_steps.size())
        EndFurther();
    Drive(0, frame);
}

SP<Proc::IDataVideo> VideoChain::Take() {
    while (m_ready.empty() && m_ending < m_steps.size())
        EndFurther();
    if (m_ready.empty())
        return {};
    SP<Proc::IDataVideo> frame = std::move(m_ready.front());
    m_ready.pop_front();
    return frame;
}

void VideoChain::End() {
    if (m_steps.empty())
        return;
    m_ending = 0;
    m_steps.front().End();
}

/// Takes the next frame that the step which is ending holds back through those after it; with none left, the
/// step after it ends.
void VideoChain::EndFurther() {
    std::size_t const step = m_ending;
    m_ending = s_notEnding; // should it fail
    if (SP<Proc::IDataVideo> held = m_steps[step].Take()) {
        Drive(step + 1, std::move(held));
        m_ending = step;
    } else if (step + 1 < m_steps.size()) {
        m_steps[step + 1].End();
        m_ending = step + 1;
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
