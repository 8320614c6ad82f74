#pragma once

#include "Conf/SampleInfo.h"
#include "Host/AudioChain.h"
#include "Host/ChainStep.h"

#include <string>

namespace Tarsel::Host {

/// One effect of a chain, driven as a stream whatever it offers, with what it hands out checked. Exceptions
/// leave with the step's label under TagStep. Not synchronized.
class AudioStep : public ChainStep<AudioMedium> {
public:
    /// `effect` is not null.
    AudioStep(SP<Proc::IOneInputEffectAudio> effect, std::string label);

    /// As IEffectStreamAudio, with the results of each operation to be taken before the next.
    void Feed(SP<Proc::IDataAudio> const& block);
    SP<Proc::IDataAudio> Take();
    void End();

    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) const;

private:
    void NoteLosses(Conf::SampleFormats output);

    /// Of all that went in the one of least depth: what comes out may lie several blocks back.
    Conf::SampleFormats m_input = Conf::SampleFormats::Unknown;
};

} // namespace Tarsel::Host
