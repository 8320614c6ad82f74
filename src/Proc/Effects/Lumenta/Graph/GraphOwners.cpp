#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"

#include <cstdint>

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

std::shared_ptr<AVFilterGraph> MakeFilterGraph(int threads) {
    AVFilterGraph* const graph = avfilter_graph_alloc();
    if (!graph)
        return nullptr;
    // Before the first filter joins: that is when the pool of threads starts.
    graph->nb_threads = threads;
    return {graph, [](AVFilterGraph* owned) { avfilter_graph_free(&owned); }};
}

} // namespace Tarsel::Proc
