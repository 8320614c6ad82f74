#include "Proc/Effects/Lumenta/Graph/GraphStream.h"

#include "Core/ThreadBudget.h"

#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

/// FFmpeg's scaler, which graphs put in by themselves, cuts pictures into slices for its threads, and ends
/// the process where one ends within a pattern of colors.
bool HasPattern(Conf::PixFmt format) {
    AVPixFmtDescriptor const* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_BAYER) != 0;
}

} // namespace

GraphStream::GraphStream(FrameHook hook) : m_hook(std::move(hook)) {}

void GraphStream::Drop() noexcept {
    SetGraph(nullptr);
}

void GraphStream::Build(std::string const& description, Conf::PixFmt format, Conf::FrameInfo const& info,
                        int wanted) {
    // First, for its threads too.
    Drop();
    m_graph = EffectFFMPEGVideo::Create(description, static_cast<AVPixelFormat>(format), info, {},
                                        Core::ThreadLease(HasPattern(format) ? 1 : wanted));
}

void GraphStream::SetGraph(SP<EffectFFMPEGVideo> graph) noexcept {
    m_graph = std::move(graph);
    m_running = false;
}

void GraphStream::Feed(SP<IDataVideo> const& data) {
    m_graph->Feed(data);
    m_running = true;
}

void GraphStream::Drain() {
    Drain(*m_graph);
}

void GraphStream::Pass(SP<IDataVideo> data) {
    m_ready.push_back(std::move(data));
}

void GraphStream::End() {
    if (!m_running)
        return;
    SP<EffectFFMPEGVideo> const graph = std::move(m_graph);
    Drop();
    if (graph->HasFailed())
        return;
    graph->End();
    Drain(*graph);
}

SP<IDataVideo> GraphStream::Take() {
    if (m_ready.empty())
        return nullptr;
    SP<IDataVideo> data = std::move(m_ready.front());
    m_ready.pop_front();
    return data;
}

GraphStream::Frames GraphStream::GiveReady() noexcept {
    return std::exchange(m_ready, {});
}

void GraphStream::PutBack(Frames frames) noexcept {
    m_ready = std::move(frames);
}

void GraphStream::Drain(EffectFFMPEGVideo& graph) {
    while (SP<IDataVideo> data = graph.Take()) {
        if (m_hook)
            m_hook(data);
        m_ready.push_back(std::move(data));
    }
}

} // namespace Tarsel::Proc
