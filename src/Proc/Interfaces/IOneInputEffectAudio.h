#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IOneInputEffect.h"

namespace Tarsel::Proc {

/// An effect on audio. Called by hosts, as IEffect says.
class TARSEL_API IOneInputEffectAudio : public IOneInputEffect {
public:
    using IOneInputEffect::ProcessData;
    /// std::bad_cast when `data` is no IDataAudio. A null stays a null.
    void ProcessData(SP<IData>& data) override;
    /// Replaces the block by the result; null when the effect holds it back, and for a null asks for what it
    /// holds. The block that went in is not changed unless the effect passes it through. EffectException
    /// where the effect refuses the block or FFmpeg does; MemoryException; `data` then is no result.
    virtual void Process(SP<IDataAudio>& data) = 0;
    /// Replaces the description of the input by that of the output. Not null; the object itself may be
    /// changed or replaced. Errors as for a block of that format.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) = 0;
};

} // namespace Tarsel::Proc
