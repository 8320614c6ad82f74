#include "Proc/Effects/Lumenta/Graph/FrameFault.h"

#include "Conf/PixFmtDescription.h"
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
    if (frame.data[0] == nullptr)
        return fmt::format("{} has no pixels", name);
    auto const& description = Conf::PixFmtDescription::Find(data.GetPixelFormat());
    bool const hasPalette = (description.GetFlags() & Conf::PixFmtDescription::Palette) != 0;
    for (int plane = 1; plane < description.GetPlaneCount() + (hasPalette ? 1 : 0); ++plane)
        if (frame.data[plane] == nullptr)
            return fmt::format("{} has no plane {}", name, plane);
    return {};
}

} // namespace Tarsel::Proc
