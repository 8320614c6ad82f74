#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <functional>
#include <list>
#include <string>

namespace Tarsel::Proc {

/// The graph that an effect holds, the stream of frames that may run through it, and what came out of that
/// stream and waits to be taken. Not synchronised: its effect lets one thread in at a time.
class GraphStream {
public:
    /// A list takes no memory while it is empty, so that it is given away without a failure.
    using Frames = std::list<SP<IDataVideo>>;
    /// Puts right what the graph does not carry.
    using FrameHook = std::function<void(SP<IDataVideo> const&)>;

    /// `hook` is called for each frame of a stream, as it comes out of the graph; it may throw.
    explicit GraphStream(FrameHook hook = {});

    /// Null when there is none.
    EffectFFMPEGVideo* GetGraph() const noexcept { return m_graph.get(); }
    /// Whether there is a graph, one that has not failed.
    bool IsUsable() const noexcept { return m_graph && !m_graph->HasFailed(); }
    /// Whether the graph was fed as a stream.
    bool IsRunning() const noexcept { return m_running; }
    /// The graph goes, and with it what it holds back.
    void Drop() noexcept;
    /// Another graph, for frames of that format and geometry and an unknown rate; the old one goes first, so
    /// that there is none when this throws. `wanted` is the number of threads to ask the budget for. Throws
    /// as EffectFFMPEGVideo::Create.
    void Build(std::string const& description, Conf::PixFmt format, Conf::FrameInfo const& info, int wanted);
    /// A graph that was built elsewhere, in place of the old one.
    void SetGraph(SP<EffectFFMPEGVideo> graph) noexcept;

    /// Feeds the graph, which is there; as EffectFFMPEGVideo::Feed.
    void Feed(SP<IDataVideo> const& data);
    /// Makes ready what the graph, which is there, can give now.
    void Drain();
    /// Makes a frame ready that needs no graph.
    void Pass(SP<IDataVideo> data);
    /// Ends the stream that runs through the graph, if any: its rest is ready, its graph gone, also on
    /// failure.
    void End();

    /// The oldest frame that is ready, or null.
    SP<IDataVideo> Take();
    /// All that is ready, to be dropped or put back.
    Frames GiveReady() noexcept;
    void PutBack(Frames frames) noexcept;

private:
    void Drain(EffectFFMPEGVideo& graph);

    FrameHook m_hook;
    SP<EffectFFMPEGVideo> m_graph;
    bool m_running = false;
    Frames m_ready;
};

} // namespace Tarsel::Proc
