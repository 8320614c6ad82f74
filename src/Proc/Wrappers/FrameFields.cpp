#include "Proc/Wrappers/FrameFields.h"

#include <limits>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/version.h>
}

namespace Tarsel::Proc {

Conf::FrameInfo GetFrameInfo(AVFrame const& frame) noexcept {
    AVRational const aspect = frame.sample_aspect_ratio;
    bool const known = aspect.num > 0 && aspect.den > 0;
    return {static_cast<std::uint32_t>(frame.width), static_cast<std::uint32_t>(frame.height),
            static_cast<std::uint32_t>(known ? aspect.num : 0),
            static_cast<std::uint32_t>(known ? aspect.den : 1)};
}

#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
std::int64_t GetFrameDuration(AVFrame const& frame) noexcept {
    return frame.duration;
}

void SetFrameDuration(AVFrame& frame, std::int64_t duration) noexcept {
    frame.duration = duration;
}
#else
std::int64_t GetFrameDuration(AVFrame const& frame) noexcept {
    return frame.pkt_duration;
}

void SetFrameDuration(AVFrame& frame, std::int64_t duration) noexcept {
    frame.pkt_duration = duration;
}
#endif

Conf::ColorSpace GetFrameColorSpace(AVFrame const& frame) noexcept {
    return {frame.colorspace, frame.color_range, frame.color_primaries};
}

void SetFrameColorSpace(AVFrame& frame, Conf::ColorSpace const& space) noexcept {
    frame.colorspace = static_cast<AVColorSpace>(space.matrix);
    frame.color_range = static_cast<AVColorRange>(space.range);
    frame.color_primaries = static_cast<AVColorPrimaries>(space.primaries);
}

void SetFramePixelAspect(AVFrame& frame, std::uint32_t num, std::uint32_t den) noexcept {
    constexpr std::uint32_t largest = std::numeric_limits<int>::max();
    if (num == 0 || den == 0)
        frame.sample_aspect_ratio = {0, 1};
    else if (num > largest || den > largest)
        av_reduce(&frame.sample_aspect_ratio.num, &frame.sample_aspect_ratio.den, num, den, largest);
    else
        frame.sample_aspect_ratio = {static_cast<int>(num), static_cast<int>(den)};
}

} // namespace Tarsel::Proc
