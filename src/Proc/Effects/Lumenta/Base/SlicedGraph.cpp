#include "Proc/Effects/Lumenta/Base/SlicedGraph.h"

#include "Conf/AVFormats.h"
#include "Core/WorkPool.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

/// FFmpeg's scaler, which graphs put in by themselves, cuts pictures into slices for its threads, and ends
/// the process where one ends within a pattern of colors.
bool HasPattern(Conf::PixFmt format) {
    AVPixFmtDescriptor const* const description = av_pix_fmt_desc_get(Conf::ToAVPixelFormat(format));
    return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_BAYER) != 0;
}

} // namespace

SP<EffectFFMPEGVideo> MakeSlicedGraph(std::string const& description, Conf::PixFmt format,
                                      Conf::FrameInfo const& info, bool slices) {
    return EffectFFMPEGVideo::Create(description, Conf::ToAVPixelFormat(format), info, {},
                                     slices && !HasPattern(format) ? Core::WorkPool::Share() : nullptr);
}

} // namespace Tarsel::Proc
