#include "Pixels/FilterRun.h"

#include <stdexcept>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

namespace Tarsel::Test {

void FilterRun::FreeGraph::operator()(AVFilterGraph* graph) const {
    avfilter_graph_free(&graph);
}

FilterRun::FilterRun(std::string const& text, AVFrame const& like)
    : m_text("buffer@in=video_size=" + std::to_string(like.width) + "x" + std::to_string(like.height) +
             ":pix_fmt=" + std::to_string(like.format) + ":time_base=1/25," + text + ",buffersink@out"),
      m_graph(avfilter_graph_alloc()) {
    av_log_set_level(AV_LOG_ERROR);
    m_graph->nb_threads = 1;
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    bool const isBuilt = avfilter_graph_parse2(m_graph.get(), m_text.c_str(), &inputs, &outputs) >= 0 &&
                         avfilter_graph_config(m_graph.get(), nullptr) >= 0;
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    if (!isBuilt)
        throw std::runtime_error("not built: " + m_text);
    m_source = avfilter_graph_get_filter(m_graph.get(), "buffer@in");
    m_sink = avfilter_graph_get_filter(m_graph.get(), "buffersink@out");
}

Proc::SafeFrame FilterRun::operator()(AVFrame& frame) {
    Proc::SafeFrame result;
    if (av_buffersrc_add_frame_flags(m_source, &frame, AV_BUFFERSRC_FLAG_KEEP_REF) < 0 ||
        av_buffersink_get_frame(m_sink, result.Get()) < 0)
        throw std::runtime_error("not run: " + m_text);
    return result;
}

} // namespace Tarsel::Test
