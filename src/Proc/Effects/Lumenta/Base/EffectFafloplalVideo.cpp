#include "Conf/AVFormats.h"
#include "Proc/Effects/Lumenta/Base/EffectFafloplal.h"
#include "Proc/Effects/Lumenta/Base/SlicedGraph.h"

#include <glog/logging.h>

namespace Tarsel::Proc {

template <>
SP<EffectFFMPEGVideo> GraphEffect<VideoMedium>::MakeGraph(std::string const& description, Conf::PixFmt format,
                                                          Conf::FrameInfo const& info) const {
    VLOG(31) << "ffmpeg video filter settings: " << description;
    bool const slices =
        GetTraits().slices && (!m_actions.canSlice || m_actions.canSlice(GetSettingsBase(), format));
    return MakeSlicedGraph(description, format, info, slices);
}

template <>
SP<EffectFFMPEGVideo> GraphEffect<VideoMedium>::MakeGraph(std::string const& description,
                                                          SP<Conf::IFormatCodecVideo> const& format) const {
    Conf::FrameInfo const info = format->GetFrameInfo();
    return EffectFFMPEGVideo::Create(m_actions.getQueryText ? m_actions.getQueryText(GetSettingsBase(), info)
                                                            : description,
                                     Conf::ToAVPixelFormat(format->GetPixelFormat()), info, {});
}

} // namespace Tarsel::Proc
