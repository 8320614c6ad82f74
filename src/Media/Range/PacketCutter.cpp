#include "Media/Range/PacketCutter.h"

#include "Media/Base/Times.h"

#include <cstddef>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

/// Of a sample of all channels, in bytes; 0 where packets are not just samples.
int GetSampleSize(AVCodecParameters const& audio) noexcept {
    std::string_view const name = avcodec_get_name(audio.codec_id);
    int const bits = av_get_exact_bits_per_sample(audio.codec_id) * audio.ch_layout.nb_channels;
    bool const isInterleaved = name.starts_with("pcm_") && !name.ends_with("_planar");
    return isInterleaved && bits % 8 == 0 ? bits / 8 : 0;
}

/// Whether the samples from `part` are all that is left; their bytes follow.
bool CutSamples(AVPacket& packet, Ticks const& part, AVStream const& stream, int sampleSize) {
    AVRational const sample{1, stream.codecpar->sample_rate};
    int const count = packet.size / sampleSize;
    std::int64_t const before = av_rescale_q(part.start - packet.pts, stream.time_base, sample);
    std::int64_t const last = av_rescale_q(part.end - packet.pts, stream.time_base, sample);
    int const first = static_cast<int>(av_clip64(before, 0, count));
    int const end =
        part.end >= packet.pts + packet.duration ? count : static_cast<int>(av_clip64(last, first, count));
    packet.data += static_cast<std::ptrdiff_t>(first) * sampleSize;
    packet.size = (end - first) * sampleSize;
    return packet.size > 0;
}

} // namespace

bool CutsExactly(AVStream const& audio) noexcept {
    AVRational const sample{1, audio.codecpar->sample_rate};
    return GetSampleSize(*audio.codecpar) > 0 && av_cmp_q(audio.time_base, sample) == 0;
}

PacketCutter::PacketCutter(AVFormatContext const& input, int video, Span const& span)
    : m_input(input), m_video(video), m_span(span), m_hasBegun(input.nb_streams) {}

bool PacketCutter::Cut(AVPacket& packet) {
    if (m_span.IsWhole() || packet.stream_index >= static_cast<int>(m_hasBegun.size()))
        return true;
    AVStream const& stream = *m_input.streams[packet.stream_index];
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return true;
    if (packet.pts == AV_NOPTS_VALUE)
        packet.pts = packet.dts;
    if (packet.pts == AV_NOPTS_VALUE || !CutTimes(packet, stream))
        return false;
    std::int64_t const origin = ToTicks(m_span.GetOrigin(), FromAV(stream.time_base));
    packet.pts = av_sat_sub64(packet.pts, origin);
    if (packet.dts != AV_NOPTS_VALUE)
        packet.dts = av_sat_sub64(packet.dts, origin);
    return true;
}

bool PacketCutter::CutTimes(AVPacket& packet, AVStream const& stream) {
    Ratio const timeBase = FromAV(stream.time_base);
    AVMediaType const type = stream.codecpar->codec_type;
    Ticks const part = Media::Cut(m_span, {packet.pts, av_sat_add64(packet.pts, packet.duration)}, timeBase);
    bool const isBegunInside = m_span.Contains(ToMicroseconds(packet.pts, timeBase));
    int const sampleSize =
        type == AVMEDIA_TYPE_AUDIO && CutsExactly(stream) ? GetSampleSize(*stream.codecpar) : 0;
    if (type == AVMEDIA_TYPE_SUBTITLE || sampleSize > 0) {
        bool const isAny = packet.duration > 0 ? part.end > part.start : isBegunInside;
        if (!isAny || (sampleSize > 0 && !CutSamples(packet, part, stream, sampleSize)))
            return false;
        packet.pts = packet.dts = part.start;
    } else {
        auto const index = static_cast<std::size_t>(packet.stream_index);
        bool const isFurtherVideo = type == AVMEDIA_TYPE_VIDEO && packet.stream_index != m_video;
        bool const isLed = m_hasBegun[index] || !isFurtherVideo || (packet.flags & AV_PKT_FLAG_KEY) != 0;
        if (!isBegunInside || !isLed)
            return false;
        m_hasBegun[index] = true;
    }
    packet.duration = packet.duration > 0 ? part.end - packet.pts : 0;
    return true;
}

} // namespace Tarsel::Media
