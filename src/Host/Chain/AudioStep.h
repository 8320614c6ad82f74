#pragma once

#include "Conf/SampleInfo.h"
#include "Host/AudioChain.h"
#include "Host/Chain/ChainStep.h"

#include <string>

namespace Tarsel::Host {

/// One effect of a chain, driven as a stream whatever it offers, with what it hands out checked. Exceptions
/// leave with the step's label under TagStep. Not synchronized.
class AudioStep final : public ChainStep<AudioMedium> {
public:
    /// `effect` is not null.
    AudioStep(SP<Proc::IOneInputEffectAudio> effect, std::string label);

    void Feed(SP<Proc::IDataAudio> const& block) override;
    SP<Proc::IDataAudio> Take() override;
    void End() override;

    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) const override;

private:
    void NoteLosses(Conf::SampleFormats output);

    /// Of all that went in the one of least depth: what comes out may lie several blocks back.
    Conf::SampleFormats m_input = Conf::SampleFormats::Unknown;
};

} // namespace Tarsel::Host
