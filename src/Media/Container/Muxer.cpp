#include "Media/Container/Muxer.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Container/Containers.h"
#include "Media/Container/FileHeader.h"
#include "Media/Container/InputStreams.h"
#include "Media/Container/Output.h"
#include "Media/Container/WriteFailure.h"
#include "Media/Container/WrittenStreams.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

/// Whether a time survives the change of time base.
bool IsExact(std::int64_t time, AVRational from, AVRational to) noexcept {
    return av_compare_ts(time, from, av_rescale_q(time, from, to), to) == 0;
}

std::string FormatRate(AVRational rate) {
    return rate.den == 1 ? fmt::format("{}", rate.num) : fmt::format("{}/{}", rate.num, rate.den);
}

} // namespace

Muxer::Muxer(OutputStreams streams, Output& file, InputStreams const& input)
    : m_file(file), m_input(input), m_streams(std::move(streams)), m_tracks(input.context->nb_streams) {
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
        if (int const index = m_streams.indexes[i]; index >= 0) {
            AVCodecID const codec = m_streams.context->streams[index]->codecpar->codec_id;
            m_tracks[i].isWaitedFor = codec == AV_CODEC_ID_VP8 || codec == AV_CODEC_ID_VP9;
        }
    m_streams.context->pb = file.GetIO();
    Check(WriteHeader(*m_streams.context));
}

Muxer::~Muxer() = default;

bool Muxer::Takes(int stream) const noexcept {
    auto const source = static_cast<std::size_t>(stream);
    return source < m_streams.indexes.size() && m_streams.indexes[source] >= 0;
}

void Muxer::WriteCopied(AVPacket& packet) {
    auto const index = static_cast<unsigned>(packet.stream_index);
    if (index < m_input.context->nb_streams) // streams may turn up after the start of broadcasts
        Write(packet, FromAV(m_input.context->streams[index]->time_base));
}

void Muxer::Write(AVPacket& packet, Ratio timeBase) {
    auto const source = static_cast<std::size_t>(packet.stream_index);
    int const index = m_streams.indexes[source];
    AVFormatContext& context = *m_streams.context;
    if (index < 0 || context.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_ATTACHMENT)
        return;
    Track& track = m_tracks[source];
    packet.stream_index = index;
    packet.pos = -1;
    WatchSteps(packet, timeBase, track);
    FitTimes(packet, timeBase, track);
    std::int64_t const time = ToTime(packet.dts, index);
    int error = av_interleaved_write_frame(&context, &packet);
    if (error >= 0 && HasWaitedEnough(time))
        error = av_interleaved_write_frame(&context, nullptr);
    if (error == AVERROR_INVALIDDATA && static_cast<int>(source) != m_input.video) {
        ++track.damaged;
        return;
    }
    Check(error);
}

/// Into the time base of the output's stream, where decoding times have to go up.
void Muxer::FitTimes(AVPacket& packet, Ratio timeBase, Track& track) const {
    AVRational const from = ToAV(timeBase);
    AVRational const to = m_streams.context->streams[packet.stream_index]->time_base;
    if (packet.pts != AV_NOPTS_VALUE && !IsExact(packet.pts, from, to))
        track.isRounded = true;
    av_packet_rescale_ts(&packet, from, to);
    if (packet.dts == AV_NOPTS_VALUE)
        return;
    bool const mayRepeat = (m_streams.context->oformat->flags & AVFMT_TS_NONSTRICT) != 0;
    std::int64_t const least = track.last == INT64_MIN ? packet.dts : track.last + (mayRepeat ? 0 : 1);
    if (packet.dts < least) {
        packet.dts = least;
        if (packet.pts != AV_NOPTS_VALUE && packet.pts < least) {
            packet.pts = least;
            ++track.moved;
        }
    }
    track.last = packet.dts;
}

/// Of packets in the order in which they are shown; other codecs state their times themselves.
void Muxer::WatchSteps(AVPacket const& packet, Ratio timeBase, Track& track) {
    constexpr std::int64_t roundings = 2000; // of both times, to milliseconds
    if (packet.pts == AV_NOPTS_VALUE || (packet.dts != AV_NOPTS_VALUE && packet.dts != packet.pts))
        return;
    std::int64_t const shown = ToMicroseconds(packet.pts, timeBase);
    if (track.shown != INT64_MIN) {
        std::int64_t const step = av_sat_sub64(shown, track.shown);
        if (!track.step)
            track.step = step;
        std::int64_t const difference = av_sat_sub64(step, *track.step);
        track.isUneven = track.isUneven || difference > roundings || difference < -roundings;
    }
    track.shown = shown;
}

/// In microseconds; AV_NOPTS_VALUE stays.
std::int64_t Muxer::ToTime(std::int64_t ticks, int index) const {
    return ticks == AV_NOPTS_VALUE
               ? ticks
               : ToMicroseconds(ticks, FromAV(m_streams.context->streams[index]->time_base));
}

/// FFmpeg keeps packets until every stream has one, for ten seconds of the film at most. But for VP8 and VP9
/// it waits without end, and where the pictures stop before the audio it would keep all the rest in memory.
bool Muxer::HasWaitedEnough(std::int64_t time) {
    if (time == AV_NOPTS_VALUE)
        return false;
    if (!m_start)
        m_start = time;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        Track const& track = m_tracks[i];
        if (!track.isWaitedFor)
            continue;
        std::int64_t const reached =
            track.last == INT64_MIN ? *m_start : ToTime(track.last, m_streams.indexes[i]);
        if (time - reached > m_streams.context->max_interleave_delta)
            return true;
    }
    return false;
}

void Muxer::Close() {
    Check(av_write_trailer(m_streams.context.get()));
    m_file.Close();
    if (auto const written = m_file.GetWrittenPath(); !written.empty())
        m_lostTags =
            DescribeLostTags(*m_streams.context, m_input.context->metadata, m_streams.indexes, written);
}

void Muxer::Check(int error, Core::Site const& site) const {
    if (error < 0)
        ThrowCannotWrite(m_file.GetPath(), error, site);
}

std::vector<std::string> Muxer::GetNotes() const {
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        if (m_tracks[i].moved > 0)
            notes.push_back(fmt::format("Stream {}: Moved {} that did not increase.", i,
                                        CountText(m_tracks[i].moved, "timestamp")));
        if (m_tracks[i].damaged > 0)
            notes.push_back(
                fmt::format("Stream {}: Skipped {}.", i, CountText(m_tracks[i].damaged, "damaged packet")));
    }
    notes.insert(notes.end(), m_lostTags.begin(), m_lostTags.end());
    if (m_input.video < 0)
        return notes;
    auto const picture = static_cast<std::size_t>(m_input.video);
    if (m_tracks[picture].isUneven && !KeepsTimes(*m_streams.context->oformat)) {
        AVRational const rate = m_streams.context->streams[m_streams.indexes[picture]]->avg_frame_rate;
        notes.push_back(fmt::format("Lost the uneven frame times: {} has {} frames a second.",
                                    GetFileKind(*m_streams.context), FormatRate(rate)));
    }
    if (m_tracks[picture].isRounded && KeepsTimes(*m_streams.context->oformat)) {
        AVRational const tick = m_streams.context->streams[m_streams.indexes[picture]]->time_base;
        notes.push_back(fmt::format("Rounded the frame times to {}/{} s, the time base of {}.", tick.num,
                                    tick.den, GetFileKind(*m_streams.context)));
    }
    return notes;
}

} // namespace Tarsel::Media
