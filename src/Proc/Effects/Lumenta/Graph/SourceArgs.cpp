#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"

#include "Conf/FFmpegFormats.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

std::string MakeVideoSourceArgs(Conf::PixFmt format, Conf::FrameInfo const& info, Ratio const& frameRate) {
    std::string args =
        fmt::format("video_size={}x{}:pix_fmt={}:time_base=1/1000000:pixel_aspect={}/{}", info.width,
                    info.height, static_cast<std::int32_t>(format), info.aspectNum, info.aspectDen);
    if (frameRate.numerator != 0 && frameRate.denominator != 0)
        args += fmt::format(":frame_rate={}/{}", frameRate.numerator, frameRate.denominator);
    return args;
}

std::string MakeAudioSourceArgs(Conf::SampleInfo const& info) {
    std::string const args = fmt::format("time_base=1/1000000:sample_rate={}:sample_fmt={}", info.rate,
                                         Conf::SampleFmtRecord::Find(info.format).name);
    std::uint64_t const mask = Conf::AVChannelLayoutMaskFromTarsel(info.layout);
    if (mask == 0 && info.layout.channels != 0)
        return args + fmt::format(":channels={}", info.layout.channels);
    return args + fmt::format(":channel_layout={:#x}", mask);
}

} // namespace Tarsel::Proc
