#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Wrappers/SafeSwrContext.h"
#include "Tools/Tarsel/Audio/Limiter.h"

#include <deque>
#include <memory>
#include <optional>

namespace Tarsel::Tools {

/// A stream of effects, and behind it a gain and perhaps a limiter, worked out in double precision.
class GainStream final : public Proc::IEffectStreamAudio {
public:
    /// Without effects blocks come as they are. `format` is that of the blocks; `gain` and `limit` are
    /// linear, full scale being 1, and a limit of 0 is none. EffectException.
    GainStream(std::unique_ptr<Proc::IEffectStreamAudio> effects, Conf::SampleInfo const& format, double gain,
               double limit);

    /// Of the blocks that come out.
    Conf::SampleInfo const& GetFormat() const noexcept { return m_format; }
    double GetLeastGain() const noexcept { return m_limiter ? m_limiter->GetLeastGain() : 1; }

    void Feed(SP<Proc::IDataAudio> const& block) override;
    SP<Proc::IDataAudio> Take() override;
    void End() override;

private:
    void TakeEffects();
    void Work(Proc::IDataAudio const& block);
    void Amplify(Proc::SafeFrame frame);

    std::unique_ptr<Proc::IEffectStreamAudio> m_effects;
    Conf::SampleInfo m_format;
    double m_gain;
    Proc::SafeSwrContext m_converter;
    std::optional<Limiter> m_limiter;
    std::deque<SP<Proc::DataAudioFF>> m_ready;
};

} // namespace Tarsel::Tools
