#pragma once

#include "Core/Api.h"

namespace Tarsel::Core {

/// How many threads all graphs of the process may use together. One number for the process, set by the host;
/// without it, the number of processors. All functions may be called from any thread.
class TARSEL_API ThreadBudget {
public:
    /// `threads` is at least 1 (less counts as 1). Leases already given keep what they have.
    static void Set(int threads) noexcept;
    static int Get() noexcept;
};

/// A share of the budget, given back by the destructor. The calling thread itself costs nothing, so a lease
/// is never refused: with the budget used up it is of one thread.
class TARSEL_API ThreadLease {
public:
    /// One thread: the caller's own.
    ThreadLease() noexcept = default;
    /// Up to `wanted` threads, the caller's own included.
    explicit ThreadLease(int wanted) noexcept;
    ThreadLease(ThreadLease&& other) noexcept;
    ThreadLease& operator=(ThreadLease&& other) noexcept;
    ~ThreadLease();

    /// Threads to use, at least 1.
    int GetCount() const noexcept { return 1 + m_extra; }

private:
    int m_extra = 0;
};

} // namespace Tarsel::Core
