#pragma once

#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/Graph/SampleTimes.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <deque>
#include <functional>
#include <variant>

namespace Tarsel::Proc {

/// The sound that streams through an effect: the graph that is being fed, the rest of graphs before it, and
/// what waits to be taken. The tail of a stream that has ended (minutes, of an echo) stays in its graph until
/// it is taken. Not synchronised: its effect lets one thread in at a time.
class SoundStream {
public:
    /// Puts right what the graph does not do; called for each block as it comes out of a graph.
    using BlockHook = std::function<void(SP<IDataAudio>&)>;

    /// Where `counted`, times are those of the samples that went in, else the sink's.
    SoundStream(bool counted, BlockHook hook);

    /// Feeds the graph, another than before only after End. Throws as EffectFFMPEGAudio and the hook.
    void Feed(SP<EffectFFMPEGAudio> const& graph, SP<IDataAudio> const& data);
    /// A block that needs no graph, only after End.
    void Pass(SP<IDataAudio> const& data);
    /// No more for the graph that is being fed, if any: it is let go, also on failure.
    void End();
    /// Takes all out of graphs that have ended, for a hook that is about to change.
    void Settle();
    /// The oldest block, or null. Throws as EffectFFMPEGAudio and the hook.
    SP<IDataAudio> Take();
    /// Forgets everything.
    void Clear() noexcept;
    /// Whether a graph is being fed.
    bool IsRunning() const noexcept { return m_running.graph != nullptr; }

private:
    struct Run {
        SP<EffectFFMPEGAudio> graph;
        SampleTimes times;
    };

    SP<IDataAudio> Pull(Run& run);

    bool m_counted;
    BlockHook m_hook;
    Run m_running{nullptr, SampleTimes(1)};
    /// In the order of the sound; all before what the running graph still holds back.
    std::deque<std::variant<SP<IDataAudio>, Run>> m_waiting;
};

} // namespace Tarsel::Proc
