#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/ITwoInputEffect.h"

namespace Tarsel::Proc {

/// An effect on two pictures. Called by hosts, as IEffect says.
class TARSEL_API ITwoInputEffectVideo : public ITwoInputEffect {
public:
    using ITwoInputEffect::ProcessData;
    /// std::bad_cast when either is no IDataVideo. Nulls stay nulls.
    void ProcessData(SP<IData>& data, SP<IData const> const& second) override;
    /// Replaces the first frame by the result; null when the effect holds it back. Neither frame is changed,
    /// and with a null one the first stays as it is. EffectException where the effect refuses a frame or
    /// FFmpeg does; MemoryException; `data` then is no result.
    virtual void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) = 0;
    /// Replaces the description of the first input by that of the output. Not null; the object itself may be
    /// changed or replaced. Errors as for frames of that format.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) = 0;
};

} // namespace Tarsel::Proc
