#include "Proc/Effects/Lumenta/Base/EffectFafloplal.h"

namespace Tarsel::Proc {

template <>
SP<EffectFFMPEGAudio> GraphEffect<AudioMedium>::MakeGraph(std::string const& description, Conf::SampleFormats,
                                                          Conf::SampleInfo const& info) const {
    SP<EffectFFMPEGAudio> graph = EffectFFMPEGAudio::Create(description, info);
    if (m_actions.getWarmUp)
        graph->WarmUp(info, m_actions.getWarmUp(GetSettingsBase(), info));
    return graph;
}

template <>
SP<EffectFFMPEGAudio> GraphEffect<AudioMedium>::MakeGraph(std::string const& description,
                                                          SP<Conf::IFormatCodecAudio> const& format) const {
    return EffectFFMPEGAudio::Create(description, format);
}

} // namespace Tarsel::Proc
