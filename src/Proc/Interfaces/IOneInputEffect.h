#pragma once

#include "Proc/Interfaces/IEffect.h"

namespace Tarsel::Proc {

/// An effect with one input.
class TARSEL_API IOneInputEffect : public IEffect {
public:
    /// Exactly one element, else std::logic_error "incorrect data count". The element itself stays as it is.
    SP<IData> ProcessData(std::vector<SP<IData>> const& inputs) override;
    /// Replaces `data` by the result, null when the effect holds it back.
    virtual void ProcessData(SP<IData>& data) = 0;
};

} // namespace Tarsel::Proc
