#include "Media/Run/Pipeline.h"

#include "Core/StartThread.h"
#include "Core/ThreadBudget.h"
#include "Host/FFmpegMessages.h"
#include "Media/Base/Stopped.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace Tarsel::Media {

namespace {

constexpr std::chrono::milliseconds s_tick(100);

/// What the stages' threads and the caller's share.
class Outcome {
public:
    Outcome(std::size_t running, std::stop_source stop) : m_running(running), m_stop(std::move(stop)) {}

    void Guard(std::function<void()> const& work) noexcept {
        try {
            work();
        } catch (Stopped const&) {
            // It was told to.
        } catch (boost::exception const& failure) {
            Host::FFmpegMessages::AddTo(failure); // other threads know nothing of it
            Keep(std::current_exception());
        } catch (...) {
            Keep(std::current_exception());
        }
    }

    void EndOne() {
        std::lock_guard const lock(m_mutex);
        if (--m_running == 0)
            m_ended.notify_all();
    }

    /// Whether all have ended within the time.
    bool WaitForAll(std::chrono::milliseconds time) {
        std::unique_lock lock(m_mutex);
        return m_ended.wait_for(lock, time, [this] { return m_running == 0; });
    }

    void Rethrow() const {
        if (m_failure != nullptr)
            std::rethrow_exception(m_failure);
    }

private:
    void Keep(std::exception_ptr failure) noexcept {
        {
            std::lock_guard const lock(m_mutex);
            if (m_failure == nullptr)
                m_failure = std::move(failure);
        }
        m_stop.request_stop();
    }

    std::mutex m_mutex;
    std::condition_variable m_ended;
    std::size_t m_running;
    std::exception_ptr m_failure;
    std::stop_source m_stop;
};

} // namespace

Pipeline::Pipeline(std::stop_source stop, std::function<void()> onTick)
    : m_stop(std::move(stop)), m_onTick(std::move(onTick)), m_onOneThread(Core::ThreadBudget::Get() == 1),
      m_ticker(m_stop.get_token(), m_onTick) {}

void Pipeline::Run(std::function<void()> produce) {
    if (m_onOneThread) {
        produce();
    } else {
        m_stages.push_back(std::move(produce));
        RunStages(m_stages, m_stop, m_onTick, s_tick);
    }
    if (m_stop.stop_requested())
        throw Stopped();
}

void Ticker::Tick() {
    if (m_stop.stop_requested())
        throw Stopped();
    auto const now = std::chrono::steady_clock::now();
    if (now - m_last < s_tick)
        return;
    m_last = now;
    m_onTick();
}

void RunStages(std::vector<std::function<void()>> const& stages, std::stop_source stop,
               std::function<void()> const& onTick, std::chrono::milliseconds tick) {
    Outcome outcome(stages.size(), std::move(stop));
    {
        std::vector<std::jthread> threads;
        outcome.Guard([&] {
            threads.reserve(stages.size());
            for (auto const& stage : stages)
                threads.push_back(Core::StartThread([&outcome, &stage] {
                    outcome.Guard(stage);
                    outcome.EndOne();
                }));
        });
        bool const started = threads.size() == stages.size();
        while (started && !outcome.WaitForAll(tick))
            outcome.Guard(onTick);
    }
    outcome.Rethrow();
}

} // namespace Tarsel::Media
