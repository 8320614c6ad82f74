#include "Proc/Wrappers/FFmpegText.h"

#include "Conf/AVFormats.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {

std::string GetFFmpegErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    // Without words of its own for the number, FFmpeg still writes "Error number <n> occurred".
    (void)av_strerror(error, text.data(), text.size());
    return text.data();
}

std::string PixelFormatText(int format) {
    char const* const name = av_get_pix_fmt_name(Conf::ToAVPixelFormat(format));
    return name != nullptr ? std::string(name) : fmt::format("format {}", format);
}

std::string PictureText(AVFrame const& frame) {
    return fmt::format("{}x{} {}", frame.width, frame.height, PixelFormatText(frame.format));
}

std::string AudioText(Conf::SampleInfo const& info) {
    auto const& format = Conf::SampleFmtRecord::Find(info.format);
    return fmt::format("{} {} {}", info.rate > 0 ? fmt::format("{} Hz", info.rate) : "unknown rate",
                       format.format != Conf::SampleFormats::Unknown ? format.name : "unknown format",
                       info.layout.channels > 0 ? info.layout.GetName() : "unknown layout");
}

} // namespace Tarsel::Proc
