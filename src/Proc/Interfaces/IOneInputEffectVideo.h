#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IOneInputEffect.h"

namespace Tarsel::Proc {

class TARSEL_API IOneInputEffectVideo : public IOneInputEffect {
public:
    using IOneInputEffect::ProcessData;
    /// std::bad_cast when `data` is no IDataVideo. A null stays a null for Process: held frames are asked
    /// for.
    void ProcessData(SP<IData>& data) override;
    /// Replaces the frame by the result; null when the effect holds it back. The frame that went in is not
    /// changed unless the effect passes it through.
    virtual void Process(SP<IDataVideo>& data) = 0;
    /// Replaces the description of the input by that of the output.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) = 0;
};

} // namespace Tarsel::Proc
