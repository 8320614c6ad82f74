#include "Media/Run/NonVideoStreams.h"

#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Run/AudioPlanner.h"

#include <algorithm>
#include <cstdint>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

NonVideoStreams::NonVideoStreams(InputStreams const& input, std::vector<StreamWork> work,
                                 ProgressMeter& progress, std::stop_token stop)
    : m_input(input), m_cutter(*input.context, input.video, input.span), m_progress(progress),
      m_stop(std::move(stop)) {
    for (StreamWork& each : work)
        m_streams.push_back({each.audio ? std::make_unique<AudioWorker>(std::move(each.audio)) : nullptr,
                             std::move(each.text)});
}

TakePacket NonVideoStreams::MakeTaker(std::size_t index, Muxer& muxer) const {
    return [this, index, &muxer](AVPacket& packet) {
        if (m_stop.stop_requested())
            throw Stopped();
        packet.stream_index = static_cast<int>(index);
        muxer.Write(packet, m_streams[index].audio->GetTimeBase());
    };
}

/// What comes before time 0 is the codec's.
void NonVideoStreams::Count(AVPacket const& packet) {
    AVStream const& source = *m_input.context->streams[packet.stream_index];
    if (source.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || packet.pts == AV_NOPTS_VALUE)
        return;
    Ratio const timeBase = FromAV(source.time_base);
    std::int64_t const origin = m_input.span.GetOrigin();
    Ticks const part = Cut(m_input.span,
                           {std::max<std::int64_t>(ToMicroseconds(packet.pts, timeBase), 0),
                            ToMicroseconds(av_sat_add64(packet.pts, packet.duration), timeBase)},
                           s_microsecond);
    if (part.end > part.start)
        m_progress.AddAudio(part.start - origin, part.end - origin);
}

bool NonVideoStreams::Write(AVPacket& packet, Muxer& muxer) {
    // Streams may turn up after the start of broadcasts.
    if (!muxer.Takes(packet.stream_index))
        return false;
    auto const index = static_cast<std::size_t>(packet.stream_index);
    Count(packet);
    auto const& [audio, text] = m_streams[index];
    if (audio != nullptr) {
        audio->Feed(packet, MakeTaker(index, muxer));
        return true;
    }
    bool const isWanted = (text == nullptr || text->Convert(packet)) && m_cutter.Cut(packet);
    if (isWanted)
        muxer.WriteCopied(packet);
    return isWanted;
}

void NonVideoStreams::End(Muxer& muxer) {
    for (std::size_t i = 0; i < m_streams.size(); ++i)
        if (m_streams[i].audio != nullptr)
            m_streams[i].audio->End(MakeTaker(i, muxer));
}

void NonVideoStreams::AddTimes(StageTimes& times) const noexcept {
    for (Stream const& stream : m_streams)
        if (stream.audio != nullptr) {
            times.audio += stream.audio->GetTime();
            times.writing -= stream.audio->GetWaitTime();
        }
}

std::vector<std::string> NonVideoStreams::GetNotes() const {
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < m_streams.size(); ++i) {
        if (m_streams[i].text != nullptr)
            for (std::string& note : m_streams[i].text->GetNotes())
                notes.push_back(std::move(note));
        if (m_streams[i].audio != nullptr)
            for (std::string const& note : m_streams[i].audio->GetNotes())
                notes.push_back(GetAudioPrefix(m_input, i) + note);
    }
    return notes;
}

} // namespace Tarsel::Media
