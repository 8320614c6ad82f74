#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/ITwoInputEffect.h"

namespace Tarsel::Proc {

class TARSEL_API ITwoInputEffectVideo : public ITwoInputEffect {
public:
    using ITwoInputEffect::ProcessData;
    /// std::bad_cast when either is no IDataVideo. Nulls stay nulls.
    void ProcessData(SP<IData>& data, SP<IData const> const& second) override;
    /// Replaces the first frame by the result; null when the effect holds it back.
    virtual void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) = 0;
    /// Replaces the description of the first input by that of the output.
    virtual void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) = 0;
};

} // namespace Tarsel::Proc
