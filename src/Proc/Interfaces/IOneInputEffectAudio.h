#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IOneInputEffect.h"

namespace Tarsel::Proc {

class TARSEL_API IOneInputEffectAudio : public IOneInputEffect {
public:
    using IOneInputEffect::ProcessData;
    /// std::bad_cast when `data` is no IDataAudio. A null stays a null.
    void ProcessData(SP<IData>& data) override;
    /// Replaces the block by the result; null when the effect holds it back.
    virtual void Process(SP<IDataAudio>& data) = 0;
    /// Replaces the description of the input by that of the output.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) = 0;
};

} // namespace Tarsel::Proc
