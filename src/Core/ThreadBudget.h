#pragma once

#include "Core/Api.h"

namespace Tarsel::Core {

/// How many threads all graphs and chains of the process may use together: those of the pool (Core::WorkPool)
/// and the one that asks. One number for the process, set by the host; without it, the number of processors.
/// All functions may be called from any thread.
class TARSEL_API ThreadBudget {
public:
    /// `threads` is at least 1 (less counts as 1). Graphs and chains that are there keep the pool they have.
    static void Set(int threads) noexcept;
    static int Get() noexcept;
};

} // namespace Tarsel::Core
