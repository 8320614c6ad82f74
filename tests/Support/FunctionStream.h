#pragma once

#include "Proc/Interfaces/IEffectStream.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>

namespace Tarsel::Test {

/// Data that are ready to be taken, or held back.
template <class Data>
using Queue = std::deque<SP<Data>>;
/// Takes a datum, or null at the end of the stream, and puts what is ready into the second argument. What is
/// held back stays with the function until it has seen the end.
template <class Data>
using StreamWork = std::function<void(SP<Data> const&, Queue<Data>&)>;

/// Removes the first one, if any.
template <class Data>
SP<Data> TakeFirst(Queue<Data>& queue) {
    if (queue.empty())
        return {};
    SP<Data> data = std::move(queue.front());
    queue.pop_front();
    return data;
}

/// A stream whose work is a function.
template <class Data>
class FunctionStream : public Proc::IEffectStream<Data> {
public:
    explicit FunctionStream(StreamWork<Data> work) : m_work(std::move(work)) {}

    void Feed(SP<Data> const& data) override { m_work(data, m_ready); }
    SP<Data> Take() override { return TakeFirst(m_ready); }
    void End() override { m_work({}, m_ready); }

private:
    StreamWork<Data> m_work;
    Queue<Data> m_ready;
};

/// Holds `count` data back.
template <class Data>
StreamWork<Data> HoldBack(std::size_t count) {
    return [count, held = Queue<Data>()](SP<Data> const& data, Queue<Data>& ready) mutable {
        if (data)
            held.push_back(data);
        while (held.size() > (data ? count : 0))
            ready.push_back(TakeFirst(held));
    };
}

} // namespace Tarsel::Test
