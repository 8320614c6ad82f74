#include "Proc/Effects/Lumenta/Graph/OutputConversion.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Wrappers/FrameFields.h"

#include <utility>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

SafeFrame OutputConversion::Apply(SafeFrame frame, void* opaque) {
    Choose(*frame);
    if (!m_converter)
        return frame;
    Conf::FrameInfo const info = GetFrameInfo(*frame);
    SafeFrame converted(GetFrameColorSpace(*frame), m_target, info.width, info.height, info.aspectNum,
                        info.aspectDen);
    m_converter.Scale(*frame, *converted);
    converted.CopyProperties(*frame);
    converted->opaque = opaque;
    return converted;
}

void OutputConversion::Choose(AVFrame const& frame) {
    auto const format = static_cast<Conf::PixFmt>(frame.format);
    if (format == m_lastFormat)
        return;
    if (Conf::PixFmtDescription::IsSupported(format)) {
        m_converter = {};
        m_target = Conf::PixFmt::None;
    } else {
        Conf::PixFmt const target = Conf::Color::Workable(format);
        if (target != m_target) {
            SwsCtxParams params{SideOf(frame), SideOf(frame)};
            params.to.format = target;
            m_converter = SafeSwsContext(params);
            m_target = target;
        }
    }
    // Last, so that a conversion that could not be had is tried again by the next frame.
    m_lastFormat = format;
}

void OutputConversion::UpdateFormatCodec(AVFilterContext const& sink, Conf::IFormatCodecVideo& format) const {
    if (sink.nb_inputs == 0 || !sink.inputs[0])
        return;
    AVRational const aspect = av_buffersink_get_sample_aspect_ratio(&sink);
    format.InitByPixelAspect(static_cast<std::uint32_t>(av_buffersink_get_w(&sink)),
                             static_cast<std::uint32_t>(av_buffersink_get_h(&sink)),
                             static_cast<std::uint32_t>(aspect.num), static_cast<std::uint32_t>(aspect.den));
    format.SetPixelFormat(m_target != Conf::PixFmt::None
                              ? m_target
                              : static_cast<Conf::PixFmt>(av_buffersink_get_format(&sink)));
}

} // namespace Tarsel::Proc
