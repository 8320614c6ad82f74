#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IOneInputEffect.h"

namespace Tarsel::Proc {

/// An effect on pictures. Called by hosts, as IEffect says.
class TARSEL_API IOneInputEffectVideo : public IOneInputEffect {
public:
    using IOneInputEffect::ProcessData;
    /// std::bad_cast when `data` is no IDataVideo. A null stays a null for Process: held frames are asked
    /// for.
    void ProcessData(SP<IData>& data) override;
    /// Replaces the frame by the result; null when the effect holds it back. The frame that went in is not
    /// changed unless the effect passes it through, and belongs to whoever else has it. EffectException where
    /// the effect refuses the frame or FFmpeg does; MemoryException; `data` then is no result.
    virtual void Process(SP<IDataVideo>& data) = 0;
    /// Replaces the description of the input by that of the output. Where the answer comes from a cache,
    /// geometry and orientation are those the effect states; else those of its engine, which does not know of
    /// an orientation tag: hosts that track the tag themselves clear it after an effect that bakes it in.
    /// Not null; the object itself may be changed or replaced. Errors as for a frame of that format.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) = 0;
};

} // namespace Tarsel::Proc
