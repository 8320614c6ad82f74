#include "Media/Range/RangeEnd.h"

#include "Media/Base/Times.h"

#include <cstddef>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

/// In microseconds: what FFmpeg's muxers interleave within, and more than any decoder holds back.
constexpr std::int64_t s_interleaving = 10000000;

} // namespace

RangeEnd::RangeEnd(AVFormatContext const& input, Span const& span) : m_isBefore(input.nb_streams) {
    if (span.to != INT64_MAX)
        m_limit = av_sat_add64(span.to, s_interleaving);
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        AVStream const& stream = *input.streams[i];
        AVMediaType const type = stream.codecpar->codec_type;
        m_isBefore[i] = (type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO) &&
                        (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
        m_before += m_isBefore[i] ? 1 : 0;
    }
}

void RangeEnd::Add(AVFormatContext const& input, AVPacket const& packet) {
    auto const index = static_cast<std::size_t>(packet.stream_index);
    std::int64_t const time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    if (m_limit == INT64_MAX || index >= m_isBefore.size() || !m_isBefore[index] || time == AV_NOPTS_VALUE ||
        ToMicroseconds(time, FromAV(input.streams[index]->time_base)) < m_limit)
        return;
    m_isBefore[index] = false;
    --m_before;
}

} // namespace Tarsel::Media
