#pragma once

#include "Media/Base/Stopped.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

namespace Tarsel::Media {

/// Hands items from one thread to another and holds the giver back while it is full. Any thread.
template <class T>
class BoundedQueue {
public:
    /// At most `capacity` items wait. `stop` ends all waiting.
    BoundedQueue(std::size_t capacity, std::stop_token stop)
        : m_capacity(capacity), m_stop(std::move(stop)) {}

    /// Waits for room. Stopped.
    void Push(T item) {
        {
            std::unique_lock lock(m_mutex);
            Wait(lock, m_hasRoom, [this] { return m_items.size() < m_capacity; });
            m_items.push_back(std::move(item));
        }
        m_hasItems.notify_one();
    }

    /// There are no more.
    void Close() {
        {
            std::lock_guard const lock(m_mutex);
            m_closed = true;
        }
        m_hasItems.notify_all();
    }

    /// Waits for an item; nothing when the queue has been closed and all items are taken. Stopped.
    std::optional<T> Pop() {
        std::optional<T> item;
        {
            std::unique_lock lock(m_mutex);
            Wait(lock, m_hasItems, [this] { return !m_items.empty() || m_closed; });
            if (m_items.empty())
                return item;
            item.emplace(std::move(m_items.front()));
            m_items.pop_front();
        }
        m_hasRoom.notify_one();
        return item;
    }

private:
    template <class Condition>
    void Wait(std::unique_lock<std::mutex>& lock, std::condition_variable_any& changed, Condition condition) {
        changed.wait(lock, m_stop, condition);
        if (m_stop.stop_requested())
            throw Stopped();
    }

    std::size_t m_capacity;
    bool m_closed = false;
    std::stop_token m_stop;
    std::mutex m_mutex;
    std::condition_variable_any m_hasRoom;
    std::condition_variable_any m_hasItems;
    std::deque<T> m_items;
};

} // namespace Tarsel::Media
