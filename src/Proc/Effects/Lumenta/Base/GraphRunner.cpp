#include "Proc/Effects/Lumenta/Base/GraphRunner.h"

#include <algorithm>

namespace Tarsel::Proc {

template <class Medium>
auto GraphRunner<Medium>::GetState() const noexcept -> State {
    if (m_graph && m_graph->HasFailed())
        return State::Failed;
    if (m_running)
        return State::Feeding;
    bool const isDraining = std::ranges::any_of(
        m_waiting, [](auto const& waiting) { return std::holds_alternative<Run>(waiting); });
    return isDraining ? State::Draining : State::Idle;
}

template <class Medium>
void GraphRunner<Medium>::SetGraph(SP<Graph> graph) noexcept {
    m_running.reset();
    m_graph = std::move(graph);
}

template <class Medium>
void GraphRunner<Medium>::Feed(SP<Data> const& data) {
    m_graph->Feed(data);
    if (!m_running)
        m_running.emplace(*data);
    if (m_counted)
        m_running->Push(*data);
    while (SP<Data> out = Pull(*m_graph, *m_running))
        m_waiting.emplace_back(std::move(out));
}

template <class Medium>
void GraphRunner<Medium>::Pass(SP<Data> data) {
    m_waiting.emplace_back(std::move(data));
}

template <class Medium>
void GraphRunner<Medium>::End() {
    if (!m_running)
        return;
    Run ended{std::move(m_graph), *std::move(m_running)};
    SetGraph(nullptr);
    if (ended.graph->HasFailed())
        return;
    ended.graph->End();
    m_waiting.emplace_back(std::move(ended));
}

template <class Medium>
void GraphRunner<Medium>::Settle() {
    for (auto place = m_waiting.begin(); place != m_waiting.end();) {
        auto* const run = std::get_if<Run>(&*place);
        if (!run) {
            ++place;
            continue;
        }
        while (SP<Data> data = Pull(*run->graph, run->times))
            m_waiting.emplace(place, std::move(data));
        place = m_waiting.erase(place);
    }
}

template <class Medium>
auto GraphRunner<Medium>::Take() -> SP<Data> {
    while (!m_waiting.empty()) {
        auto& first = m_waiting.front();
        auto* const run = std::get_if<Run>(&first);
        SP<Data> data = run ? Pull(*run->graph, run->times) : std::get<SP<Data>>(std::move(first));
        if (!run || !data)
            m_waiting.pop_front();
        if (data)
            return data;
    }
    return nullptr;
}

template <class Medium>
auto GraphRunner<Medium>::Pull(Graph& graph, typename Medium::Times& times) -> SP<Data> {
    SP<Data> data = graph.HasFailed() ? nullptr : graph.Take();
    if (!data)
        return nullptr;
    if (m_counted)
        times.Stamp(*data);
    if (m_hook)
        m_hook(data);
    return data;
}

template class GraphRunner<VideoMedium>;
template class GraphRunner<AudioMedium>;

} // namespace Tarsel::Proc
