#include "Proc/Wrappers/FrameFields.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"

#include <algorithm>
#include <limits>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
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

#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
FieldOrder GetFrameFieldOrder(AVFrame const& frame) noexcept {
    if ((frame.flags & AV_FRAME_FLAG_INTERLACED) == 0)
        return FieldOrder::Progressive;
    return (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0 ? FieldOrder::TopFirst
                                                              : FieldOrder::BottomFirst;
}

void SetFrameFieldOrder(AVFrame& frame, FieldOrder order) noexcept {
    frame.flags &= ~(AV_FRAME_FLAG_INTERLACED | AV_FRAME_FLAG_TOP_FIELD_FIRST);
    if (order != FieldOrder::Progressive)
        frame.flags |= AV_FRAME_FLAG_INTERLACED;
    if (order == FieldOrder::TopFirst)
        frame.flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#if FF_API_INTERLACED_FRAME
        // Encoders still take the fields of old for more of the same.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    frame.interlaced_frame = order == FieldOrder::Progressive ? 0 : 1;
    frame.top_field_first = order == FieldOrder::TopFirst ? 1 : 0;
#pragma GCC diagnostic pop
#endif
}
#else
FieldOrder GetFrameFieldOrder(AVFrame const& frame) noexcept {
    if (frame.interlaced_frame == 0)
        return FieldOrder::Progressive;
    return frame.top_field_first != 0 ? FieldOrder::TopFirst : FieldOrder::BottomFirst;
}

void SetFrameFieldOrder(AVFrame& frame, FieldOrder order) noexcept {
    frame.interlaced_frame = order == FieldOrder::Progressive ? 0 : 1;
    frame.top_field_first = order == FieldOrder::TopFirst ? 1 : 0;
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

Conf::SampleInfo GetFrameSampleInfo(AVFrame const& frame) noexcept {
    return Conf::SampleInfo::Init(Conf::SampleFormatTarselFromFFMPEG(frame.format),
                                  frame.sample_rate > 0 ? frame.sample_rate : -1,
                                  Conf::TarselFromAVChannelLayout(frame.ch_layout));
}

void SetFrameSampleInfo(AVFrame& frame, Conf::SampleInfo const& info) noexcept {
    frame.format = Conf::SampleFormatFFMPEGFromTarsel(info.format);
    frame.sample_rate = info.rate;
    frame.ch_layout = Conf::AVChannelLayoutFromTarsel(info.layout);
}

bool HasSamples(AVFrame const& block) noexcept {
    if (block.nb_samples == 0)
        return true;
    auto const format = Conf::ToAVSampleFormat(block.format);
    int const channels = block.ch_layout.nb_channels;
    int least = 0;
    if (av_samples_get_buffer_size(&least, channels, block.nb_samples, format, 1) < 0 ||
        block.linesize[0] < least || block.extended_data == nullptr)
        return false;
    return std::all_of(block.extended_data,
                       block.extended_data + (av_sample_fmt_is_planar(format) != 0 ? channels : 1),
                       [](std::uint8_t const* plane) { return plane != nullptr; });
}

} // namespace Tarsel::Proc
