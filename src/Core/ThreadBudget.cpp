#include "Core/ThreadBudget.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

namespace Tarsel::Core {

namespace {

/// 0 until the host sets it.
std::atomic<int> s_budget{0};
/// Threads of all leases beyond their callers' own; at most one less than the budget, whose first thread is
/// the caller's.
std::atomic<int> s_extraInUse{0};

int TakeExtra(int wanted) noexcept {
    int inUse = s_extraInUse.load(std::memory_order_relaxed);
    int granted = 0;
    do {
        granted = std::min(wanted, ThreadBudget::Get() - 1 - inUse);
        if (granted <= 0)
            return 0;
    } while (!s_extraInUse.compare_exchange_weak(inUse, inUse + granted, std::memory_order_relaxed));
    return granted;
}

void GiveBackExtra(int extra) noexcept {
    s_extraInUse.fetch_sub(extra, std::memory_order_relaxed);
}

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

ThreadLease::ThreadLease(int wanted) noexcept : m_extra(TakeExtra(wanted - 1)) {}

ThreadLease::ThreadLease(ThreadLease&& other) noexcept : m_extra(std::exchange(other.m_extra, 0)) {}

ThreadLease& ThreadLease::operator=(ThreadLease&& other) noexcept {
    if (this != &other) {
        GiveBackExtra(m_extra);
        m_extra = std::exchange(other.m_extra, 0);
    }
    return *this;
}

ThreadLease::~ThreadLease() {
    GiveBackExtra(m_extra);
}

} // namespace Tarsel::Core
