#include "Host/EffectChain.h"

#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/Chain/AudioStep.h"
#include "Host/Chain/TimedAudio.h"
#include "Host/Chain/VideoSegment.h"
#include "Host/Chain/VideoStep.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tarsel::Host {

template <class Medium>
EffectChain<Medium>::EffectChain() = default;

template <class Medium>
EffectChain<Medium>::~EffectChain() = default;

template <class Medium>
std::string EffectChain<Medium>::MakeLabel(Effect const* effect, std::string label) {
    if (effect == nullptr)
        Core::Throw<Proc::EffectException>("A chain cannot take a null effect");
    return label.empty() ? fmt::format("step {} ({})", ++m_numbered, effect->GetSettingsBase().GetClassId())
                         : label;
}

template <class Medium>
void EffectChain<Medium>::Append(SP<Effect> const& effect, std::string label) {
    label = MakeLabel(effect.get(), std::move(label));
    m_steps.push_back(std::make_unique<typename Medium::Step>(effect, std::move(label)));
}

template <class Medium>
bool EffectChain<Medium>::IsEmpty() const noexcept {
    return m_steps.empty();
}

template <class Medium>
void EffectChain<Medium>::Feed(SP<Data> const& data) {
    if (!data)
        Core::Throw<Proc::EffectException>(fmt::format("A null {} cannot be fed", Medium::s_datum));
    while (m_ending < m_steps.size())
        EndFurther();
    Drive(0, data);
}

template <class Medium>
auto EffectChain<Medium>::Take() -> SP<Data> {
    while (m_ready.empty() && m_ending < m_steps.size())
        EndFurther();
    if (m_ready.empty())
        return {};
    SP<Data> data = std::move(m_ready.front());
    m_ready.pop_front();
    return data;
}

template <class Medium>
void EffectChain<Medium>::End() {
    if (m_steps.empty())
        return;
    m_ending = 0;
    m_steps.front()->End();
}

/// Takes the next datum that the step which is ending holds back through those after it; with none left, the
/// step after it ends. Where one of those fails, the step has more to give all the same.
template <class Medium>
void EffectChain<Medium>::EndFurther() {
    std::size_t const step = std::exchange(m_ending, s_notEnding); // should it fail
    SP<Data> held;
    try {
        held = m_steps[step]->Take();
    } catch (...) {
        if (m_steps[step]->GoesOn())
            m_ending = step;
        throw;
    }
    if (held) {
        m_ending = step;
        Drive(step + 1, std::move(held));
    } else if (step + 1 < m_steps.size()) {
        m_steps[step + 1]->End();
        m_ending = step + 1;
    }
}

template <class Medium>
void EffectChain<Medium>::UpdateFormatCodec(SP<Format>& format) {
    for (auto const& step : m_steps)
        step->UpdateFormatCodec(format);
}

template <class Medium>
std::vector<Core::Property> EffectChain<Medium>::GetStatistics() const {
    std::vector<Core::Property> statistics;
    for (auto const& step : m_steps)
        step->AddStatistics(statistics);
    return statistics;
}

template <class Medium>
std::vector<StepTime> EffectChain<Medium>::GetTimes() const {
    std::vector<StepTime> times;
    for (auto const& step : m_steps)
        step->AddTimes(times);
    return times;
}

template <class Medium>
std::vector<std::string> EffectChain<Medium>::GetNotes() const {
    std::vector<std::string> notes;
    for (auto const& step : m_steps)
        std::ranges::move(step->GetNotes(), std::back_inserter(notes));
    return notes;
}

/// Passes one datum to step `from`, and whatever that gives to the steps after it: each result is taken
/// before the next is made, so that no step queues more than its own look-ahead.
template <class Medium>
void EffectChain<Medium>::Drive(std::size_t from, SP<Data> data) {
    if (from == m_steps.size()) {
        m_ready.push_back(std::move(data));
        return;
    }
    m_steps[from]->Feed(data);
    data.reset();
    while (SP<Data> result = m_steps[from]->Take())
        Drive(from + 1, std::move(result));
}

template class EffectChain<VideoMedium>;
template class EffectChain<AudioMedium>;

// Here, so that no other library has copies of them.
VideoChain::VideoChain() = default;
VideoChain::~VideoChain() = default;

void VideoChain::Append(SP<Effect> const& effect, std::string label, MakeEffect another, StepTimes times) {
    auto& steps = GetSteps();
    label = MakeLabel(effect.get(), std::move(label));
    if (m_threads == 1 || !another || !VideoSegment::CanTake(*effect)) {
        steps.push_back(std::make_unique<VideoStep>(effect, std::move(label), std::move(times)));
        return;
    }
    auto* segment = steps.empty() ? nullptr : dynamic_cast<VideoSegment*>(steps.back().get());
    if (segment == nullptr)
        segment =
            static_cast<VideoSegment*>(steps.emplace_back(std::make_unique<VideoSegment>(m_threads)).get());
    segment->Append(effect, std::move(label), std::move(another), std::move(times));
}

void AudioChain::Append(SP<Effect> const& effect, std::string label, MakeEffect another, StepTimes times) {
    if (!times.IsLimited() && times.moving.empty()) {
        Append(effect, std::move(label));
        return;
    }
    label = MakeLabel(effect.get(), std::move(label));
    AtStep(label, [&] {
        GetSteps().push_back(
            std::make_unique<TimedAudio>(effect, label, std::move(another), std::move(times)));
    });
}

AudioChain::AudioChain() = default;
AudioChain::~AudioChain() = default;

} // namespace Tarsel::Host
