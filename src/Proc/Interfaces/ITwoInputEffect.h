#pragma once

#include "Proc/Interfaces/IEffect.h"

namespace Tarsel::Proc {

/// An effect that changes its first input by its second.
class TARSEL_API ITwoInputEffect : public IEffect {
public:
    /// Exactly two elements, else std::logic_error "invalid data count". Neither element is changed.
    SP<IData> ProcessData(std::vector<SP<IData>> const& inputs) override;
    /// Replaces `data` by the result, null when the effect holds it back.
    virtual void ProcessData(SP<IData>& data, SP<IData const> const& second) = 0;
};

} // namespace Tarsel::Proc
