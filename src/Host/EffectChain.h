#pragma once

#include "Core/Property.h"
#include "Host/AtStep.h"
#include "Host/StepTime.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Tarsel::Host {

template <class Medium>
class IChainStep;

/// What VideoChain and AudioChain have in common. `Medium` names the types of one medium (VideoMedium).
/// Operations throw what the steps throw, under TagStep; after that the datum on its way is lost, what is
/// ready stays, and the chain can be fed again. Not synchronized, but different chains are independent.
template <class Medium>
class TARSEL_API EffectChain : public Proc::IEffectStream<typename Medium::Data> {
public:
    using Effect = typename Medium::Effect;
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;

    EffectChain(EffectChain const&) = delete;
    EffectChain& operator=(EffectChain const&) = delete;
    ~EffectChain() override;

    /// Appends an effect that has its settings; shares it. `label` is what TagStep and the notes call it; ""
    /// stands for "step 2 (transpose)", the number being that among the steps without a label. Before the
    /// first datum. EffectException for null.
    void Append(SP<Effect> const& effect, std::string label = {});
    bool IsEmpty() const noexcept;

    /// As IEffectStream. EffectException for null. A chain without steps gives back what it is fed.
    void Feed(SP<Data> const& data) override;
    SP<Data> Take() override;
    void End() override;

    /// Takes the description of the input through all steps; not null, and possibly another object after it.
    void UpdateFormatCodec(SP<Format>& format);
    /// What each step tells about its run, in order.
    std::vector<Core::Property> GetStatistics() const;
    /// What each step took so far, in order. Waits for data on their way.
    std::vector<StepTime> GetTimes() const;
    /// One line each, for users: what the steps did to the data so far that was not their task.
    std::vector<std::string> GetNotes() const;

protected:
    using Step = IChainStep<Medium>;

    EffectChain();

    /// The label, or what stands for an empty one. EffectException for null.
    std::string MakeLabel(Effect const* effect, std::string label);
    std::vector<std::unique_ptr<Step>>& GetSteps() noexcept { return m_steps; }

private:
    static constexpr std::size_t s_notEnding = SIZE_MAX;

    void EndFurther();
    void Drive(std::size_t from, SP<Data> data);

    std::vector<std::unique_ptr<Step>> m_steps;
    std::size_t m_numbered = 0;
    /// The step that is giving out what it held back.
    std::size_t m_ending = s_notEnding;
    std::deque<SP<Data>> m_ready;
};

} // namespace Tarsel::Host
