#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Core/Exception.h"
#include "Core/Property.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace Tarsel::Host {

/// The step, by its number from 1 and its class id where nothing else was said, on every exception that
/// leaves a chain and can carry facts: all of this system, and the standard ones that its own code throws.
using TagStep = boost::error_info<struct TagStepId, std::string>;

class VideoStep;

/// Video effects one after the other, as one stream: nothing that a step holds back is lost. Steps that offer
/// IEffectStreamVideo are driven by it, others by Process (whatever they still hold at the end is asked for
/// with null frames). Around steps that say what frames they take (EffectTraits) others are converted there
/// and back. A step that breaks its contract throws EffectException. Not synchronised.
class TARSEL_API VideoChain final : public Proc::IEffectStreamVideo {
public:
    VideoChain();
    VideoChain(VideoChain const&) = delete;
    VideoChain& operator=(VideoChain const&) = delete;
    ~VideoChain() override;

    /// Appends an effect that has its settings; shares it. `label` is what TagStep and the notes call it; ""
    /// stands for "step 2 (transpose)", the number being that among the steps without a label.
    void Append(SP<Proc::IOneInputEffectVideo> const& effect, std::string label = {});
    bool IsEmpty() const noexcept;

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;

    /// Takes the description of the input through all steps.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format);
    /// What each step tells about its run, in order.
    std::vector<Core::Property> GetStatistics() const;
    /// One line each, for users: which steps dropped alpha or depth of the frames so far, and around which
    /// frames were converted.
    std::vector<std::string> GetNotes() const;

private:
    static constexpr std::size_t s_notEnding = SIZE_MAX;

    void EndFurther();
    void Drive(std::size_t from, SP<Proc::IDataVideo> frame);

    std::vector<VideoStep> m_steps;
    std::size_t m_numbered = 0;
    /// The step that is giving out what it held back.
    std::size_t m_ending = s_notEnding;
    std::deque<SP<Proc::IDataVideo>> m_ready;
};

} // namespace Tarsel::Host
