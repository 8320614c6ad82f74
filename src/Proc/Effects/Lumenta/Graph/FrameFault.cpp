#include "Proc/Effects/Lumenta/Graph/FrameFault.h"

#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

std::string FindFrameFault(IDataVideo const& data, AVFrame const& frame, std::string_view name) {
    auto const format = static_cast<int>(data.GetPixelFormat());
    Conf::FrameInfo const info = data.GetFrameInfo();
    if (frame.format != format)
        return fmt::format("{} is {} but is said to be {}", name, PixelFormatText(frame.format),
                           PixelFormatText(format));
    if (std::cmp_less(frame.width, info.width) || std::cmp_less(frame.height, info.height))
        return fmt::format("{} has only {}x{} pixels of the {}x{} it is said to have", name, frame.width,
                           frame.height, info.width, info.height);
    if (!frame.data[0])
        return fmt::format("{} has no pixels", name);
    return {};
}

} // namespace Tarsel::Proc
