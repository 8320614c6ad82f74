#pragma once

#include "Core/Api.h"
#include "Proc/Wrappers/SafeSwsContext.h"

namespace Tarsel::Proc {

/// A scaler that is made again only when something else is to be scaled. Not synchronized.
class TARSEL_API KeptScaler {
public:
    /// Scales as a SafeSwsContext with these parameters does, and throws as it.
    void Scale(SwsCtxParams const& params, AVFrame const& from, AVFrame& to);
    /// Gives its memory back.
    void Drop() noexcept { m_scaler = {}; }

private:
    SwsCtxParams m_params;
    SafeSwsContext m_scaler;
};

} // namespace Tarsel::Proc
