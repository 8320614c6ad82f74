#pragma once

#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Host/StepTime.h"

#include <string>
#include <vector>

namespace Tarsel::Host {

/// A part of a chain: one effect, or several that work on several data at once. Not synchronized.
template <class Medium>
class IChainStep {
public:
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;

    virtual ~IChainStep() = default;

    /// As IEffectStream, with the results of each operation to be taken before the next. Exceptions that can
    /// carry facts leave with the label of the effect under TagStep.
    virtual void Feed(SP<Data> const& data) = 0;
    virtual SP<Data> Take() = 0;
    virtual void End() = 0;
    /// After a failure while the stream ends: whether that was of one datum, and Take goes on to the end.
    virtual bool GoesOn() const noexcept { return false; }

    virtual void UpdateFormatCodec(SP<Format>& format) const = 0;
    /// One for each effect.
    virtual void AddStatistics(std::vector<Core::Property>& statistics) const = 0;
    virtual void AddTimes(std::vector<StepTime>& times) const = 0;
    /// What a user should know of what became of the data so far, a line each.
    virtual std::vector<std::string> GetNotes() const = 0;
};

} // namespace Tarsel::Host
