#pragma once

#include "Core/WorkPool.h"

#include <memory>

struct AVFilterContext;
struct AVFilterGraph;
struct AVFilterInOut;

namespace Tarsel::Proc {

/// Owners of libavfilter's records. None of the functions throws anything but std::bad_alloc; any thread.

struct InOutDeleter {
    void operator()(AVFilterInOut* list) const noexcept;
};

/// A list of open ends of a graph, until it is released into avfilter_graph_parse, which owns it from the
/// call on.
using UniqueInOut = std::unique_ptr<AVFilterInOut, InOutDeleter>;

/// One open end: pad 0 of `filter` (null for one not made) under the name `name`. Null when memory runs out.
UniqueInOut MakeInOut(char const* name, AVFilterContext* filter);

/// An empty graph, whose filters cut their work into slices for the pool; null: they run on the caller's
/// thread alone. The graph does not keep the pool, which has to outlive it. Null when memory runs out.
std::shared_ptr<AVFilterGraph> MakeFilterGraph(Core::WorkPool* pool);

} // namespace Tarsel::Proc
