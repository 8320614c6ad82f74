#include "Host/VideoChain.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Host {

struct VideoChain::Step {
    SP<Proc::IOneInputEffectVideo> effect;
    /// The effect as a stream; null when it is none. Lives as long as the effect.
    Proc::IEffectStreamVideo* stream;
    /// "step 2 (transpose)".
    std::string label;

    /// Does `work` on the effect; an exception that can carry facts leaves with the step's label. It is the
    /// thrown object that is marked and goes on: no type is lost.
    template <class Work>
    decltype(auto) Do(Work&& work) const {
        try {
            return work(*effect);
        } catch (boost::exception& exception) {
            exception << TagStep(label);
            throw;
        }
    }

    /// Ends the step's stream as the streaming interface does, for effects that lack it: one call gives one
    /// frame, and after the null the effect starts afresh.
    SP<Proc::IDataVideo> TakeHeld() const {
        return Do([](Proc::IOneInputEffectVideo& video) {
            SP<Proc::IDataVideo> held;
            video.Process(held);
            if (!held)
                video.Reset();
            return held;
        });
    }

    SP<Proc::IDataVideo> Take() const {
        return Do([this](auto&) { return stream->Take(); });
    }
};

VideoChain::VideoChain() = default;

VideoChain::~VideoChain() = default;

void VideoChain::Append(SP<Proc::IOneInputEffectVideo> const& effect) {
    if (!effect)
        Core::Throw<Proc::EffectException>(
            {"Host/VideoChain", "void Tarsel::Host::VideoChain::Append(const SP<IOneInputEffectVideo> &)"},
            "A chain cannot take a null effect");
    m_steps.push_back(
        {effect, dynamic_cast<Proc::IEffectStreamVideo*>(effect.get()),
         fmt::format("step {} ({})", m_steps.size() + 1, effect->GetSettingsBase().GetClassId())});
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
    SP<Proc::IDataVideo> const frame = std::move(m_ready.front());
    m_ready.pop_front();
    return frame;
}

void VideoChain::End() {
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        Step const& step = m_steps[i];
        if (step.stream != nullptr) {
            step.Do([&](auto&) { step.stream->End(); });
            while (SP<Proc::IDataVideo> held = step.Take())
                Drive(i + 1, std::move(held));
        } else {
            while (SP<Proc::IDataVideo> held = step.TakeHeld())
                Drive(i + 1, std::move(held));
        }
    }
}

void VideoChain::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    for (Step const& step : m_steps)
        step.Do([&](Proc::IOneInputEffectVideo& effect) { effect.UpdateFormatCodec(format); });
}

std::vector<Core::Property> VideoChain::GetStatistics() const {
    std::vector<Core::Property> statistics;
    for (Step const& step : m_steps)
        statistics.push_back(
            step.Do([](Proc::IOneInputEffectVideo const& effect) { return effect.GetStatistic(); }));
    return statistics;
}

/// Passes one frame to step `from`, and whatever that gives to the steps after it: each result is taken
/// before the next is made, so that no step queues more than its own look-ahead.
void VideoChain::Drive(std::size_t from, SP<Proc::IDataVideo> frame) {
    if (from == m_steps.size()) {
        m_ready.push_back(std::move(frame));
        return;
    }
    Step const& step = m_steps[from];
    if (step.stream != nullptr) {
        step.Do([&](auto&) { step.stream->Feed(frame); });
        frame.reset();
        while (SP<Proc::IDataVideo> result = step.Take())
            Drive(from + 1, std::move(result));
    } else {
        step.Do([&](Proc::IOneInputEffectVideo& effect) { effect.Process(frame); });
        if (frame)
            Drive(from + 1, std::move(frame));
    }
}

} // namespace Tarsel::Host
