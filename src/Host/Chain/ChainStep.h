#pragma once

#include "Core/Property.h"
#include "Host/Chain/IChainStep.h"
#include "Host/EffectChain.h"
#include "Host/FFmpegMessages.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tarsel::Host {

/// What VideoStep and AudioStep have in common: an effect driven as a stream whatever it offers, its label
/// and what users should know of it. Not synchronized.
template <class Medium>
class ChainStep : public IChainStep<Medium> {
public:
    using Effect = typename Medium::Effect;
    using Data = typename Medium::Data;

    void AddStatistics(std::vector<Core::Property>& statistics) const override;
    void AddTimes(std::vector<StepTime>& times) const override { times.push_back(m_time); }
    std::vector<std::string> GetNotes() const override { return m_notes; }
    /// For whoever drives the step: EffectException under the step's label, of an effect that breaks its
    /// contract in the way that `text` tells.
    [[noreturn]] void Blame(std::string const& text) const;

protected:
    /// `effect` is not null.
    ChainStep(SP<Effect> effect, std::string label);

    /// Does `work`; an exception that can carry facts leaves with the step's label and what FFmpeg logged, as
    /// far as there is memory for them. It is the thrown object that is marked and goes on: no type is lost.
    template <class Work>
    decltype(auto) Labeled(Work const& work) const {
        try {
            return work();
        } catch (boost::exception& exception) {
            Mark(exception);
            throw;
        }
    }

    [[noreturn]] static void ThrowMisbehavior(std::string const& text);
    void Mark(boost::exception const& exception) const noexcept;

    /// As IEffectStream, with the results of each operation to be taken before the next.
    void FeedEffect(SP<Data> const& data);
    SP<Data> TakeFromEffect();
    void EndEffect();

    /// Once each.
    void Note(std::string const& text);

    Effect& GetEffect() const noexcept { return *m_effect; }
    std::string const& GetLabel() const noexcept { return m_time.label; }
    StepTime& GetTime() noexcept { return m_time; }

private:
    SP<Effect> m_effect;
    /// The effect as a stream; null when it is none. Lives as long as the effect.
    Proc::IEffectStream<Data>* m_stream;
    StepTime m_time;
    std::vector<std::string> m_notes;

    /// For effects driven by Process: the result of the last call, whether the rest is being asked for, and
    /// how much went in and came out of that.
    SP<Data> m_given;
    bool m_isEnding = false;
    std::size_t m_fed = 0;
    std::size_t m_takenAtEnd = 0;
};

} // namespace Tarsel::Host
