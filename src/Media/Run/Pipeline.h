#pragma once

#include "Media/Run/BoundedQueue.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

namespace Tarsel::Media {

/// Stands in for the calling thread's waiting where that does the work. One thread at a time.
class Ticker {
public:
    Ticker(std::stop_token stop, std::function<void()> onTick)
        : m_stop(std::move(stop)), m_onTick(std::move(onTick)) {}

    /// Calls `onTick` about ten times a second, however often it is called. Stopped.
    void Tick();

private:
    std::stop_token m_stop;
    std::function<void()> m_onTick;
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
};

/// Stages of work, each of which hands items to the next. Each has a thread of its own and waits while the
/// next one is behind; with a thread budget of 1 all of them work on the calling thread, an item at a time.
class Pipeline {
public:
    /// How a stage is given its items by the one before.
    template <class T>
    struct Entry {
        /// Waits while the stage is behind. Stopped.
        std::function<void(T)> give;
        /// There are no more.
        std::function<void()> close;
    };

    /// `onTick` is called on the thread that calls Run, about ten times a second.
    Pipeline(std::stop_source stop, std::function<void()> onTick);

    /// Adds a stage before those already added: `take` is called with each item, then `end`.
    template <class T>
    Entry<T> AddStage(std::function<void(T)> take, std::function<void()> end) {
        if (m_onOneThread)
            return {[this, take = std::move(take)](T item) {
                        m_ticker.Tick();
                        take(std::move(item));
                    },
                    std::move(end)};
        auto const queue = std::make_shared<BoundedQueue<T>>(s_waiting, m_stop.get_token());
        m_stages.push_back([queue, take = std::move(take), end = std::move(end)] {
            while (auto item = queue->Pop())
                take(std::move(*item));
            end();
        });
        return {[queue](T item) { queue->Push(std::move(item)); }, [queue] { queue->Close(); }};
    }

    /// Runs `produce`, the first stage, and with it all others; returns when all have ended. The first
    /// exception of a stage or of `onTick` ends all and is thrown unchanged. Stopped. Once.
    void Run(std::function<void()> produce);

private:
    /// Enough to keep all stages busy, few enough for pictures of 8K.
    static constexpr std::size_t s_waiting = 4;

    std::stop_source m_stop;
    std::function<void()> m_onTick;
    bool m_onOneThread;
    std::vector<std::function<void()>> m_stages;
    Ticker m_ticker;
};

/// Runs every stage on a thread of its own and returns when all have ended. The first exception of a stage or
/// of `onTick` asks `stop` to stop, and is thrown unchanged on the calling thread; a stage that ends with
/// Stopped just ends. `onTick` is called on the calling thread, once every `tick`, while stages run.
void RunStages(std::vector<std::function<void()>> const& stages, std::stop_source stop,
               std::function<void()> const& onTick, std::chrono::milliseconds tick);

} // namespace Tarsel::Media
