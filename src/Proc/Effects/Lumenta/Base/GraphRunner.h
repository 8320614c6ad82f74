#pragma once

#include "Proc/Effects/Lumenta/Base/Medium.h"

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <utility>
#include <variant>

namespace Tarsel::Proc {

/// The graph that an effect holds, the stream that may run through it, the rest of graphs before it, and what
/// waits to be taken. The tail of a stream that has ended (minutes, of an echo) stays in its graph until it
/// is taken. Not synchronized: its effect lets one thread in at a time.
template <class Medium>
class GraphRunner {
public:
    using Data = typename Medium::Data;
    using Graph = typename Medium::Graph;

    enum class State : std::uint8_t {
        /// No stream: the graph, if any, is that of single calls.
        Idle,
        /// A stream runs through the graph.
        Feeding,
        /// A stream has ended, and its graph may have more of it.
        Draining,
        /// The graph is of no more use.
        Failed,
    };

    /// Finishes what comes out of a graph fed as a stream, each as it comes; may replace it, and throw.
    using Hook = std::function<void(SP<Data>&)>;

    void SetHook(Hook hook) { m_hook = std::move(hook); }
    /// Each sample keeps the time that it went in with, else the sink's times hold. Of audio alone.
    void CountSamples(bool counted) noexcept { m_counted = counted; }

    State GetState() const noexcept;
    /// Null when there is none.
    SP<Graph> const& GetGraph() const noexcept { return m_graph; }
    /// A graph in place of the old one, which goes with what it holds back; none for null.
    void SetGraph(SP<Graph> graph) noexcept;

    /// Feeds the graph, which is there, and makes ready what it gives now. Throws as the graph and the hook.
    void Feed(SP<Data> const& data);
    /// Makes ready what needs no graph; no stream runs.
    void Pass(SP<Data> data);
    /// Ends the stream that runs, if any: its graph is let go, also on failure, and its rest waits in it.
    void End();
    /// Takes all out of graphs that have ended, for a hook that is about to change.
    void Settle();
    /// The oldest that is ready, or null. Throws as the graph and the hook.
    SP<Data> Take();

    struct Run {
        SP<Graph> graph;
        typename Medium::Times times;
    };
    /// A list takes no memory while it is empty, so that it is given away without a failure.
    using Waiting = std::list<std::variant<SP<Data>, Run>>;
    /// All that waits, to be dropped or put back.
    Waiting GiveWaiting() noexcept { return std::exchange(m_waiting, {}); }
    void PutBack(Waiting waiting) noexcept { m_waiting = std::move(waiting); }

private:
    SP<Data> Pull(Graph& graph, typename Medium::Times& times);

    Hook m_hook;
    bool m_counted = false;
    SP<Graph> m_graph;
    /// Of the stream that runs through the graph, if any.
    std::optional<typename Medium::Times> m_running;
    /// In the order of the stream; all before what the running graph still holds back.
    Waiting m_waiting;
};

extern template class GraphRunner<VideoMedium>;
extern template class GraphRunner<AudioMedium>;

} // namespace Tarsel::Proc
