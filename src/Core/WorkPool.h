#pragma once

#include "Core/Api.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Tarsel::Core {

/// The threads that do the work of all graphs and chains of the process, beside those that ask for it. A
/// thread that waits for work does it by itself where no other has begun, so that nothing waits for a free
/// thread. Any thread may call any function.
class TARSEL_API WorkPool {
public:
    /// A piece of work. Belongs to whoever adds it, and stays where it is until it was finished or dropped.
    class TARSEL_API Job {
    public:
        Job() noexcept = default;
        Job(Job const&) = delete;
        Job& operator=(Job const&) = delete;

    protected:
        ~Job() = default;

    private:
        friend WorkPool;
        enum class State : std::uint8_t { Idle, Waiting, Working };

        virtual void Work() noexcept = 0;

        /// Both under the pool's mutex.
        State m_state = State::Idle;
        Job* m_next = nullptr;
    };

    /// The pool of the process: a thread fewer than the budget (ThreadBudget) has. Its threads live as long
    /// as somebody holds it. Null where the budget is one thread, or the system gives no more, and on a
    /// thread that is at a job: what belongs to a job is done by its thread alone. std::bad_alloc.
    static std::shared_ptr<WorkPool> Share();

    WorkPool(WorkPool const&) = delete;
    WorkPool& operator=(WorkPool const&) = delete;
    /// Nobody has a job here any more.
    ~WorkPool();

    /// How many work at once, the thread that asks included: 2 or more.
    int GetCount() const noexcept { return static_cast<int>(m_threads.size()) + 1; }

    /// The next free thread does the job, which is not in the pool already. Jobs are begun in the order in
    /// which they were added.
    void Add(Job& job) noexcept;
    /// Returns once an added job is done: by the calling thread where no other has begun. Nothing happens
    /// where it is done already.
    void Finish(Job& job) noexcept;
    /// Takes a job back that nobody has begun; waits for the end of one that is worked on.
    void Drop(Job& job) noexcept;

    /// Calls `work` with 0 to `count` - 1, each once and in any order, on the calling thread and on those
    /// that are free. `work` throws nothing.
    void ForEach(int count, std::function<void(int)> const& work) noexcept;

private:
    explicit WorkPool(int budget);

    void Loop() noexcept;
    /// With the lock held, which is released meanwhile.
    void Do(Job& job, std::unique_lock<std::mutex>& lock) noexcept;
    bool TakeBack(Job& job) noexcept;

    int m_budget;
    std::mutex m_mutex;
    std::condition_variable m_isWaiting;
    std::condition_variable m_isDone;
    Job* m_first = nullptr;
    Job* m_last = nullptr;
    bool m_isEnding = false;
    /// Last, so that they end first.
    std::vector<std::jthread> m_threads;
};

} // namespace Tarsel::Core
