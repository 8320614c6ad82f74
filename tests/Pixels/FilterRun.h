#pragma once

#include "Proc/Wrappers/SafeFrame.h"

#include <memory>
#include <string>

struct AVFilterContext;
struct AVFilterGraph;

namespace Tarsel::Test {

/// The linked FFmpeg's own filters on one thread, for frames of one size and format. std::runtime_error with
/// the text where they cannot be built or run.
class FilterRun {
public:
    /// `like` tells size and format.
    FilterRun(std::string const& text, AVFrame const& like);

    /// What comes out for a frame, of which the pixels stay as they are.
    Proc::SafeFrame operator()(AVFrame& frame);

private:
    struct FreeGraph {
        void operator()(AVFilterGraph* graph) const;
    };

    std::string m_text;
    std::unique_ptr<AVFilterGraph, FreeGraph> m_graph;
    AVFilterContext* m_source;
    AVFilterContext* m_sink;
};

} // namespace Tarsel::Test
