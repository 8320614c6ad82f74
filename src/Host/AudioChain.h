#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Host/EffectChain.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"

#include <string_view>

namespace Tarsel::Host {

class AudioStep;

struct TARSEL_API AudioMedium {
    using Effect = Proc::IOneInputEffectAudio;
    using Data = Proc::IDataAudio;
    using Format = Conf::IFormatCodecAudio;
    using Step = AudioStep;
    /// What a datum is called.
    static constexpr std::string_view s_datum = "block";
};

extern template class EffectChain<AudioMedium>;

/// Audio effects one after the other, as one stream: nothing that a step holds back is lost. Steps that offer
/// IEffectStreamAudio are driven by it, others by Process (whatever they still hold at the end is asked for
/// with null blocks). Blocks go on from step to step in whatever format they come out. A step that breaks its
/// contract throws EffectException. Notes tell which steps dropped depth. Not synchronized.
class TARSEL_API AudioChain final : public EffectChain<AudioMedium> {
public:
    AudioChain();
    ~AudioChain() override;
};

} // namespace Tarsel::Host
