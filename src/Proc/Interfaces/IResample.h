#pragma once

#include "Proc/Interfaces/IOneInputEffectAudio.h"

#include <string>

namespace Tarsel::Proc {

/// Converts rate, format and layout of sound.
class TARSEL_API IResample : public IOneInputEffectAudio {
public:
    static std::string const CLASS_ID;

    /// What comes out; unknown fields are taken from the input.
    virtual void Init(Conf::SampleInfo const& output) = 0;
    virtual void InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) = 0;
};

} // namespace Tarsel::Proc
