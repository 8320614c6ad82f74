#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Host/EffectChain.h"
#include "Host/StepTimes.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"

#include <functional>
#include <string>
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
    using MakeEffect = std::function<SP<Effect>()>;

    AudioChain();
    ~AudioChain() override;

    using EffectChain::Append;
    /// The same for an effect that works at some times, or has values that move: it comes in and goes within
    /// `times.fade`, or 10 ms, what sounds on is heard to its end, and values change every 20 ms, by effects
    /// of its class that `another` makes and that take over from one another. SettingsException for values
    /// that are not legal, that move without `another`, and for an effect that changes the length of audio;
    /// EffectException for one that changes its rate or layout.
    void Append(SP<Effect> const& effect, std::string label, MakeEffect another, StepTimes times);
};

} // namespace Tarsel::Host
