#include "Proc/Effects/Lumenta/EffectFFMPEG.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <cstdint>
#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/opt.h>
}

namespace Tarsel::Proc {
namespace {

Core::Site MakeSite(Core::CodePoint point = Core::CodePoint::Here()) {
    return {"Proc/Effects/Lumenta/EffectFFMPEG",
            "Tarsel::Proc::EffectFFMPEG::EffectFFMPEG(EffectType, const std::string &, const std::string &)",
            point};
}

/// The two fixed ends of a graph of one type.
struct Ends {
    AVFilter const* source;
    AVFilter const* sink;
};

Ends FindEnds(EffectFFMPEG::EffectType type) {
    if (type == EffectFFMPEG::Video)
        return {avfilter_get_by_name("buffer"), avfilter_get_by_name("buffersink")};
    if (type < EffectFFMPEG::Video || type > EffectFFMPEG::AudioGenerator)
        Core::Throw<EffectException>(MakeSite(), "Wrong ffmpeg filter type",
                                     TagDetail("type " + std::to_string(type) + ", not 0 to 2"));
    return {avfilter_get_by_name("abuffer"), avfilter_get_by_name("abuffersink")};
}

} // namespace

EffectFFMPEG::EffectFFMPEG(EffectType type, std::string const& description, std::string const& sourceArgs,
                           std::shared_ptr<Core::WorkPool> pool)
    : m_pool(std::move(pool)), m_description(description) {
    FilterAttempt const attempt{description, sourceArgs};
    auto const requireMemory = [&attempt](bool had) {
        if (!had)
            ThrowNoFilterMemory(MakeSite(), attempt);
    };

    m_graph = MakeFilterGraph(m_pool.get());
    requireMemory(m_graph != nullptr);
    Ends const ends = FindEnds(type);

    if (type != AudioGenerator) {
        int const result = avfilter_graph_create_filter(&m_source, ends.source, "in", sourceArgs.c_str(),
                                                        nullptr, m_graph.get());
        if (result < 0)
            ThrowFilterError(MakeSite(), "Cannot create buffer source", result, attempt);
    }
    int result = avfilter_graph_create_filter(&m_sink, ends.sink, "out", nullptr, nullptr, m_graph.get());
    if (result < 0)
        ThrowFilterError(MakeSite(), "Cannot create buffer sink", result, attempt);
    // Else the sink takes no audio whose layout is only a number of channels.
    if (type != Video)
        av_opt_set_int(m_sink, "all_channel_counts", 1, AV_OPT_SEARCH_CHILDREN);

    // Named from the description's side: what it reads from is an output of the source.
    UniqueInOut outputs;
    if (type != AudioGenerator) {
        outputs = MakeInOut("in", m_source);
        requireMemory(outputs != nullptr);
    }
    UniqueInOut inputs = MakeInOut("out", m_sink);
    requireMemory(inputs != nullptr);

    result = avfilter_graph_parse(m_graph.get(), description.c_str(), inputs.release(), outputs.release(),
                                  nullptr);
    if (result < 0)
        ThrowFilterError(MakeSite(), "Cannot parse graph", result, attempt);

    result = avfilter_graph_config(m_graph.get(), nullptr);
    if (result < 0)
        ThrowFilterErrorOrMemory(MakeSite(), "Cannot configure graph", result, attempt);
}

} // namespace Tarsel::Proc
