#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Core/Exception.h"
#include "Core/Property.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <deque>
#include <string>
#include <vector>

namespace Tarsel::Host {

/// Number of the step, from 1, and its class id, on every exception that leaves a chain and can carry facts:
/// all of this system, and the standard ones that its own code throws.
using TagStep = boost::error_info<struct TagStepId, std::string>;

/// Video effects one after the other, as one stream: nothing that a step holds back is lost. Steps that offer
/// IEffectStreamVideo are driven by it, others by Process (whatever they still hold at the end is asked for
/// with null frames). Not synchronised.
class TARSEL_API VideoChain final : public Proc::IEffectStreamVideo {
public:
    VideoChain();
    VideoChain(VideoChain const&) = delete;
    VideoChain& operator=(VideoChain const&) = delete;
    ~VideoChain() override;

    /// Appends an effect that has its settings; shares it.
    void Append(SP<Proc::IOneInputEffectVideo> const& effect);
    bool IsEmpty() const noexcept;

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;

    /// Takes the description of the input through all steps.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format);
    /// What each step tells about its run, in order.
    std::vector<Core::Property> GetStatistics() const;

private:
    struct Step;
    void Drive(std::size_t from, SP<Proc::IDataVideo> frame);

    std::vector<Step> m_steps;
    std::deque<SP<Proc::IDataVideo>> m_ready;
};

} // namespace Tarsel::Host
