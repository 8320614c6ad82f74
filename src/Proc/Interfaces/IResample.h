#pragma once

#include "Proc/Interfaces/IOneInputEffectAudio.h"

#include <string>

namespace Tarsel::Proc {

/// Converts rate, format and layout of audio. Threads as for IEffect.
class TARSEL_API IResample : public IOneInputEffectAudio {
public:
    static std::string const CLASS_ID;

    /// What comes out, from the next block on; unknown fields are taken from the input. SettingsException for
    /// a format, rate or layout that cannot be.
    virtual void Init(Conf::SampleInfo const& output) = 0;
    /// The same by a format, which is only read. EffectException for null.
    virtual void InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) = 0;
};

} // namespace Tarsel::Proc
