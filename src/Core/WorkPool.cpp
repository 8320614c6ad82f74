#include "Core/WorkPool.h"

#include "Core/StartThread.h"
#include "Core/ThreadBudget.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <exception>
#include <utility>

namespace Tarsel::Core {

namespace {

/// Whether the thread is at a job.
thread_local bool s_isAtJob = false;

/// Numbers that several threads work off.
struct Numbers {
    int count;
    std::function<void(int)> const& work;
    std::atomic<int> next{0};

    void WorkOff() noexcept {
        for (int i = next++; i < count; i = next++)
            work(i);
    }
};

class Helper final : public WorkPool::Job {
public:
    Numbers* numbers = nullptr;

private:
    void Work() noexcept override { numbers->WorkOff(); }
};

} // namespace

std::shared_ptr<WorkPool> WorkPool::Share() {
    static std::mutex s_mutex;
    static std::weak_ptr<WorkPool> s_pool;
    int const budget = ThreadBudget::Get();
    if (budget == 1 || s_isAtJob)
        return nullptr;
    std::lock_guard const lock(s_mutex);
    std::shared_ptr<WorkPool> pool = s_pool.lock();
    if (!pool || pool->m_budget != budget) {
        pool.reset(new WorkPool(budget));
        s_pool = pool;
    }
    return pool->m_threads.empty() ? nullptr : pool;
}

WorkPool::WorkPool(int budget) : m_budget(budget) {
    m_threads.reserve(static_cast<std::size_t>(budget - 1));
    try {
        for (int i = 1; i < budget; ++i)
            m_threads.push_back(StartThread([this] { Loop(); }));
    } catch (std::exception const&) {
        // As many as the system gives.
    }
}

WorkPool::~WorkPool() {
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_isWaiting.notify_all();
}

void WorkPool::Loop() noexcept {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_isWaiting.wait(lock, [this] { return m_first != nullptr || m_isEnding; });
        if (m_first == nullptr)
            return;
        Job& job = *m_first;
        TakeBack(job);
        Do(job, lock);
    }
}

void WorkPool::Do(Job& job, std::unique_lock<std::mutex>& lock) noexcept {
    job.m_state = Job::State::Working;
    lock.unlock();
    bool const wasAtJob = std::exchange(s_isAtJob, true);
    job.Work();
    s_isAtJob = wasAtJob;
    lock.lock();
    job.m_state = Job::State::Idle;
    m_isDone.notify_all();
}

void WorkPool::Add(Job& job) noexcept {
    {
        std::lock_guard const lock(m_mutex);
        job.m_state = Job::State::Waiting;
        job.m_next = nullptr;
        (m_last == nullptr ? m_first : m_last->m_next) = &job;
        m_last = &job;
    }
    m_isWaiting.notify_one();
}

/// Whether the job was still waiting. The queue is as short as there are threads at work.
bool WorkPool::TakeBack(Job& job) noexcept {
    if (job.m_state != Job::State::Waiting)
        return false;
    Job* before = nullptr;
    for (Job* each = m_first; each != &job; each = each->m_next)
        before = each;
    (before == nullptr ? m_first : before->m_next) = job.m_next;
    if (m_last == &job)
        m_last = before;
    job.m_state = Job::State::Idle;
    return true;
}

void WorkPool::Finish(Job& job) noexcept {
    std::unique_lock lock(m_mutex);
    if (TakeBack(job))
        Do(job, lock);
    m_isDone.wait(lock, [&] { return job.m_state == Job::State::Idle; });
}

void WorkPool::Drop(Job& job) noexcept {
    std::unique_lock lock(m_mutex);
    TakeBack(job);
    m_isDone.wait(lock, [&] { return job.m_state == Job::State::Idle; });
}

void WorkPool::ForEach(int count, std::function<void(int)> const& work) noexcept {
    Numbers numbers{count, work};
    std::array<Helper, 64> helpers;
    auto const end =
        helpers.begin() + std::clamp(std::min(count, GetCount()) - 1, 0, static_cast<int>(helpers.size()));
    for (auto helper = helpers.begin(); helper != end; ++helper) {
        helper->numbers = &numbers;
        Add(*helper);
    }
    numbers.WorkOff();
    for (auto helper = helpers.begin(); helper != end; ++helper)
        Drop(*helper);
}

} // namespace Tarsel::Core
