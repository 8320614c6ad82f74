#include "Proc/Effects/Lumenta/Graph/GraphInput.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Graph/FrameFault.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/FrameRoom.h"

#include <fmt/format.h>

#include <cstdint>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

void RequireFrameFor(AVFilterContext const& source, IDataVideo const& data, AVFrame const& frame,
                     std::string_view name, std::string const& filter) {
    auto const refuse = [&](std::string const& text, Core::Site const& site = Core::Site::Here()) {
        Core::Throw<EffectException>(site, text, TagFilterText(filter));
    };
    if (std::string const fault = FindFrameFault(data, frame, name); !fault.empty())
        refuse(fault);
    auto const format = static_cast<int>(data.GetPixelFormat());
    Conf::FrameInfo const info = data.GetFrameInfo();
    AVFilterLink const& link = *source.outputs[0];
    if (format != link.format || static_cast<std::int64_t>(info.width) != link.w ||
        static_cast<std::int64_t>(info.height) != link.h)
        refuse(fmt::format("{} is {} of {}x{} pixels but its filter was built for {} of {}x{}", name,
                           PixelFormatText(format), info.width, info.height, PixelFormatText(link.format),
                           link.w, link.h));
}

AVFrameWrapper MakeSourceFrame(AVFrame const& frame) {
    if (HasRoomBehind(frame))
        return AVFrameWrapper(&frame);
    return AVFrameWrapper(CopyWithRoomBehind(frame).Get());
}

Conf::FrameInfo GetStatedInfo(IDataVideo const& data, AVFrame const& frame) {
    bool const knowsAspect = frame.sample_aspect_ratio.num > 0 && frame.sample_aspect_ratio.den > 0;
    return knowsAspect ? GetFrameInfo(frame) : Conf::WithDefinedAspect(data.GetFrameInfo());
}

} // namespace Tarsel::Proc
