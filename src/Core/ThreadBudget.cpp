#include "Core/ThreadBudget.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace Tarsel::Core {

namespace {

/// 0 until the host sets it.
std::atomic<int> s_budget{0};

} // namespace

void ThreadBudget::Set(int threads) noexcept {
    s_budget.store(std::max(threads, 1), std::memory_order_relaxed);
}

int ThreadBudget::Get() noexcept {
    if (int const budget = s_budget.load(std::memory_order_relaxed); budget != 0)
        return budget;
    static int const s_processors = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
    return s_processors;
}

} // namespace Tarsel::Core
