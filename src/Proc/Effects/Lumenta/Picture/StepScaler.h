#pragma once

#include "Proc/Wrappers/KeptScaler.h"

#include <vector>

namespace Tarsel::Proc {

/// A KeptScaler for any two sizes. libswscale's filters have 256 taps at most; beyond that it scales twice,
/// and 16-bit gray comes out of that in another range, or it refuses. Here a side shrinks to an eighth at a
/// time. Not synchronized.
class StepScaler {
public:
    /// As KeptScaler::Scale; MemoryException for pictures in between.
    void Scale(SwsCtxParams const& params, AVFrame const& from, AVFrame& to);
    /// Gives its memory back.
    void Drop() noexcept { m_scalers.clear(); }

private:
    KeptScaler& GetScaler(std::size_t step);

    std::vector<KeptScaler> m_scalers;
};

} // namespace Tarsel::Proc
