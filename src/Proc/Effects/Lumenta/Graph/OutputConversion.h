#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Conf/PixFmt.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwsContext.h"

struct AVFilterContext;

namespace Tarsel::Proc {

/// What leaves a video graph becomes something the host can take: a pixel format that it cannot is converted
/// to the nearest that it can. One object for one graph. Not synchronized.
class OutputConversion {
public:
    /// The frame itself or, where it has to be converted, another with all that it says of itself and
    /// `opaque`. MemoryException, EffectException as SafeSwsContext.
    SafeFrame Apply(SafeFrame frame, void* opaque);
    /// Writes the geometry and the pixel format of what the sink gives, converted as the frames last seen,
    /// into the format. A sink without a graph before it changes nothing.
    void UpdateFormatCodec(AVFilterContext const& sink, Conf::IFormatCodecVideo& format) const;

private:
    void Choose(AVFrame const& frame);

    Conf::PixFmt m_lastFormat = Conf::PixFmt::None;
    Conf::PixFmt m_target = Conf::PixFmt::None;
    SafeSwsContext m_converter;
};

} // namespace Tarsel::Proc
