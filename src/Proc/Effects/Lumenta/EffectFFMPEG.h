#pragma once

#include "Core/WorkPool.h"
#include "Proc/Effects/Lumenta/Api.h"

#include <cstdint>
#include <memory>
#include <string>

struct AVFilterContext;
struct AVFilterGraph;

namespace Tarsel::Proc {

/// One configured libavfilter graph between one buffer source, "in", and one buffer sink, "out". It does not
/// change: another description needs another object. Not synchronized: its owner lets one thread in at a
/// time.
class LUMENTA_API EffectFFMPEG {
public:
    /// What kind of frames the graph takes and gives; a generator takes none.
    enum EffectType : std::int32_t { Video = 0, Audio = 1, AudioGenerator = 2 };

    /// Builds and configures the graph. `sourceArgs` are the arguments of the source, not used by a
    /// generator, whose description brings a source of its own and leaves one output open. The filters'
    /// slices are worked on by the pool; without one by the thread that calls.
    ///
    /// Throws EffectException, with FFmpeg's number and words, description and arguments as tags: "Wrong
    /// ffmpeg filter type", "Cannot create buffer source", "Cannot create buffer sink", "Cannot parse graph",
    /// "Cannot configure graph", and "Not enough memory for filter" (transcoding error code 35).
    EffectFFMPEG(EffectType type, std::string const& description, std::string const& sourceArgs,
                 std::shared_ptr<Core::WorkPool> pool = nullptr);
    EffectFFMPEG(EffectFFMPEG const&) = delete;
    EffectFFMPEG& operator=(EffectFFMPEG const&) = delete;

    /// The description the graph was built from.
    std::string const& GetDescription() const noexcept { return m_description; }

private:
    /// Outlives the graph.
    std::shared_ptr<Core::WorkPool> m_pool;

protected:
    std::shared_ptr<AVFilterGraph> m_graph;
    /// Owned by the graph.
    AVFilterContext* m_sink = nullptr;
    /// Owned by the graph; null for a generator.
    AVFilterContext* m_source = nullptr;

private:
    std::string m_description;
};

} // namespace Tarsel::Proc
