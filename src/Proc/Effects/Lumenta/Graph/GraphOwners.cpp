#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"

#include <cstdint>
#include <functional>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Proc {

void InOutDeleter::operator()(AVFilterInOut* list) const noexcept {
    avfilter_inout_free(&list);
}

UniqueInOut MakeInOut(char const* name, AVFilterContext* filter) {
    UniqueInOut end(avfilter_inout_alloc());
    if (!end)
        return nullptr;
    end->name = av_strdup(name);
    end->filter_ctx = filter;
    end->pad_idx = 0;
    end->next = nullptr;
    return end->name ? std::move(end) : nullptr;
}

namespace {

int RunSlices(AVFilterContext* filter, avfilter_action_func* work, void* argument, int* results, int count) {
    auto const doSlice = [&](int slice) {
        int const result = work(filter, argument, slice, count);
        if (results != nullptr)
            results[slice] = result;
    };
    // By reference: a copy would be allocated, and nothing may be thrown through the filter.
    static_cast<Core::WorkPool*>(filter->graph->opaque)->ForEach(count, std::cref(doSlice));
    return 0;
}

} // namespace

std::shared_ptr<AVFilterGraph> MakeFilterGraph(Core::WorkPool* pool) {
    AVFilterGraph* const graph = avfilter_graph_alloc();
    if (!graph)
        return nullptr;
    // Before the first filter joins, which would start threads of the graph's own.
    graph->nb_threads = pool != nullptr ? pool->GetCount() : 1;
    if (pool != nullptr) {
        graph->opaque = pool;
        graph->execute = &RunSlices;
    }
    return {graph, [](AVFilterGraph* owned) { avfilter_graph_free(&owned); }};
}

} // namespace Tarsel::Proc
