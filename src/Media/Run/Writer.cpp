#include "Media/Run/Writer.h"

#include "Media/Base/Times.h"
#include "Media/Container/InputStreams.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/avutil.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

void Writer::Write(WorkedFrame const& frame) {
    m_encoder.Send(frame);
    WriteEncoded();
    m_progress.Add(av_sat_add64(frame.data->GetTime(), frame.data->GetDuration()));
}

void Writer::WriteEncoded() {
    while (AVPacket* const packet = m_encoder.Receive()) {
        std::int64_t const ticks = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
        m_bytes += packet->size;
        ++m_packets;
        WriteOthersBefore(ToMicroseconds(ticks, m_encoder.GetTimeBase()));
        packet->stream_index = m_input.video;
        m_muxer.Write(*packet, m_encoder.GetTimeBase());
    }
}

void Writer::WriteOthersBefore(std::int64_t time) {
    if (m_others == nullptr)
        return;
    while (AVPacket* const packet = m_others->NextBefore(time))
        m_beside.Write(*packet, m_muxer);
}

void Writer::Close() {
    m_encoder.End();
    WriteEncoded();
    WriteOthersBefore(INT64_MAX);
    m_beside.End(m_muxer);
    m_muxer.Close();
}

} // namespace Tarsel::Media
