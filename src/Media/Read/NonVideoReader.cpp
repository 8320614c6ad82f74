#include "Media/Read/NonVideoReader.h"

#include "Media/Base/Times.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

NonVideoReader::NonVideoReader(Demuxer const& input, Span const& span)
    : m_input(input), m_span(span), m_packet(MakePacket()) {}

AVPacket* NonVideoReader::NextBefore(std::int64_t time) {
    if (!m_demuxer) {
        m_demuxer = m_input.Reopen();
        m_demuxer->ForgetRead();
        m_demuxer->EndWith(m_span);
        m_demuxer->SkipVideoBefore(m_span.from);
    }
    AVPacket& packet = *m_packet;
    AVStream const& picture = m_demuxer->GetVideo();
    av_packet_unref(&packet);
    while (m_pictureTime < time && m_demuxer->Read(packet)) {
        if (packet.stream_index != picture.index)
            return &packet;
        std::int64_t const ticks = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
        if (ticks != AV_NOPTS_VALUE)
            m_pictureTime =
                av_sat_sub64(ToMicroseconds(ticks, FromAV(picture.time_base)), m_span.GetOrigin());
        av_packet_unref(&packet);
    }
    return nullptr;
}

std::vector<std::string> NonVideoReader::GetNotes() const {
    return m_demuxer ? m_demuxer->GetNotes() : std::vector<std::string>();
}

} // namespace Tarsel::Media
