#include "Media/Read/VideoSource.h"

#include "Conf/DisplayMatrix.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/VideoDecoder.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

namespace {

Conf::DisplayMatrix MakeMatrix(std::span<std::uint8_t const> data) {
    Conf::DisplayMatrix matrix;
    if (data.size() >= sizeof(matrix.words))
        std::memcpy(matrix.words.data(), data.data(), sizeof(matrix.words));
    return matrix;
}

/// The container's tag, else that of the picture (EXIF).
Conf::DisplayMatrix GetOrientation(AVStream const& stream, AVFrame const& first) {
    if (auto const data = GetSideData(stream, AV_PKT_DATA_DISPLAYMATRIX); !data.empty())
        return MakeMatrix(data);
    AVFrameSideData const* const data = av_frame_get_side_data(&first, AV_FRAME_DATA_DISPLAYMATRIX);
    return data != nullptr ? MakeMatrix({data->data, data->size}) : Conf::DisplayMatrix::s_default;
}

SourceFrame MakeSourceFrame(Proc::SafeFrame picture, FrameTime const& time, Ratio timeBase) {
    Conf::FrameInfo const info = Proc::GetFrameInfo(*picture);
    SourceFrame frame{MakeSP<Proc::DataVideoFF>(std::move(picture), info), time};
    frame.data->SetTime(ToMicroseconds(frame.time.start, timeBase));
    frame.data->SetDuration(ToMicroseconds(frame.time.duration, timeBase));
    return frame;
}

} // namespace

VideoSource::VideoSource(Input const& input, std::stop_token stop)
    : VideoSource(std::make_unique<Demuxer>(input, stop), stop) {}

VideoSource::VideoSource(std::unique_ptr<Demuxer> demuxer, std::stop_token stop, Span const& span)
    : m_path(demuxer->GetPath()), m_stop(std::move(stop)), m_span(span), m_demuxer(std::move(demuxer)),
      m_packet(MakePacket()), m_firstPacket(MakePacket()) {
    auto const fail = [this](std::string const& reason) {
        Core::Throw<InputException>(fmt::format("{} has {}", Quote(m_path), reason));
    };
    if (!m_demuxer->HasVideo())
        fail("no video");
    AVCodecID const codec = m_demuxer->GetVideo().codecpar->codec_id;
    if (avcodec_find_decoder(codec) == nullptr)
        fail(fmt::format("video in the codec {}, which this FFmpeg cannot decode", avcodec_get_name(codec)));
    if (m_demuxer->IsCover())
        m_span = {}; // it belongs to all of the file
    SeekSpan();
}

void VideoSource::SeekSpan() {
    if (m_span.from <= m_demuxer->GetStart() || !m_demuxer->SeeksExactly())
        return;
    m_isSought = m_demuxer->Seek(m_span.from);
    if (!m_isSought)
        Restart();
}

void VideoSource::Restart() {
    m_ahead.reset();
    m_hasEnough = false;
    m_draining = false;
    m_hasPacketTimes = true;
    m_ended = false;
    m_frames = 0;
    m_packets = 0;
    m_bytes = 0;
    m_decoder.reset();
    m_demuxer = m_demuxer->Reopen();
}

VideoStreamInfo VideoSource::GetInfo() {
    if (!m_ahead)
        m_ahead = Read();
    if (!m_ahead)
        ThrowNoPicture();
    AVFrame const& first = *m_ahead->data->GetAVFrame();
    AVStream const& stream = m_demuxer->GetVideo();
    return {Proc::GetFrameInfo(first),
            static_cast<Conf::PixFmt>(first.format),
            Proc::GetFrameColorSpace(first),
            m_demuxer->GetFrameRate(),
            GetTimeBase(),
            GetOrientation(stream, first),
            avcodec_get_name(stream.codecpar->codec_id),
            {},
            m_demuxer->GetStart() - m_span.GetOrigin(),
            m_demuxer->IsCover()};
}

ImageFacts VideoSource::ListFacts() const {
    return ListImageFacts(*m_ahead.value().data->GetAVFrame());
}

std::int64_t VideoSource::GetFirstDuration() const {
    return m_ahead->data->GetDuration();
}

void VideoSource::ThrowNoPicture(Core::Site const& site) const {
    if (m_hasPictures)
        Core::Throw<OptionsException>(
            site,
            m_span.from >= m_end
                ? fmt::format("There is no frame at {} or later: {} ends at {}", SecondsText(m_span.from),
                              Quote(m_path), SecondsText(m_end))
                : fmt::format("No frame of {} begins between {} and {}: choose a longer range", Quote(m_path),
                              SecondsText(std::max<std::int64_t>(m_span.from, 0)), SecondsText(m_span.to)));
    std::string const reason = m_decoder != nullptr ? m_decoder->GetLastError() : std::string();
    Core::Throw<InputException>(site, fmt::format("No frame of {} can be decoded{}{}", Quote(m_path),
                                                  reason.empty() ? "" : ": ", reason));
}

std::optional<SourceFrame> VideoSource::Next() {
    std::optional<SourceFrame> frame = m_ahead ? std::exchange(m_ahead, std::nullopt) : Read();
    m_frames += frame ? 1 : 0;
    return frame;
}

/// Times in the output may lie between the ticks of the input.
Ratio VideoSource::GetTimeBase() const {
    Ratio const own = FromAV(m_demuxer->GetVideo().time_base);
    return m_span.GetOrigin() != 0 ? RefineTimeBase(own) : own;
}

/// Whether all pictures of the span follow that one, the first after a search.
bool VideoSource::IsInTime(DecodedFrame const& first) const {
    return (m_firstPacket->flags & AV_PKT_FLAG_KEY) != 0 &&
           ToMicroseconds(first.time.start, FromAV(m_demuxer->GetVideo().time_base)) <= m_span.from;
}

/// The picture as one of the span; nothing where it is none.
std::optional<SourceFrame> VideoSource::Place(DecodedFrame decoded) {
    Ratio const own = FromAV(m_demuxer->GetVideo().time_base);
    FrameTime time = decoded.time;
    std::int64_t const start = ToMicroseconds(time.start, own);
    m_hasPictures = true;
    m_end = ToMicroseconds(av_sat_add64(time.start, time.duration), own);
    if (start < m_span.from)
        return std::nullopt;
    if (start >= m_span.to) {
        m_ended = true;
        return std::nullopt;
    }
    if (!m_span.keepsTimes) {
        Ticks const part = Cut(m_span, {time.start, av_sat_add64(time.start, time.duration)}, own);
        time.duration = std::min(time.duration, std::max<std::int64_t>(part.end - time.start, 1));
    }
    Ratio const timeBase = GetTimeBase();
    if (std::int64_t const origin = m_span.GetOrigin(); origin != 0) {
        time.start =
            av_sat_sub64(av_rescale_q(time.start, ToAV(own), ToAV(timeBase)), ToTicks(origin, timeBase));
        time.duration = av_rescale_q(time.duration, ToAV(own), ToAV(timeBase));
    }
    if (m_fitter)
        decoded.frame = m_fitter->Fit(std::move(decoded.frame), start);
    return MakeSourceFrame(std::move(decoded.frame), time, timeBase);
}

std::optional<SourceFrame> VideoSource::Read() {
    AVStream const& stream = m_demuxer->GetVideo();
    if (m_decoder == nullptr)
        m_decoder =
            std::make_unique<VideoDecoder>(m_demuxer->GetContext(), stream, m_demuxer->GetFrameRate());
    while (!m_ended) {
        if (m_stop.stop_requested())
            throw Stopped();
        if (m_hasEnough)
            break;
        if (auto decoded = m_decoder->Receive()) {
            if (std::exchange(m_isSought, false) && !IsInTime(*decoded)) {
                Restart();
                return Read();
            }
            // Phones append further pictures to the one that counts.
            m_hasEnough = m_demuxer->IsStill();
            if (auto placed = Place(std::move(*decoded)))
                return placed;
            continue;
        }
        if (m_draining)
            break;
        m_draining = !ReadPacket();
        if (!m_draining && m_demuxer->IsStill())
            m_damage = DescribeStillDamage(stream, *m_packet);
        m_decoder->Send(m_draining ? nullptr : m_packet.get());
    }
    if (std::exchange(m_isSought, false)) {
        Restart();
        return Read();
    }
    m_ended = true;
    return std::nullopt;
}

/// The next one of the picture stream; false at the end.
bool VideoSource::ReadPacket() {
    do {
        av_packet_unref(m_packet.get());
        if (!m_demuxer->Read(*m_packet))
            return false;
    } while (m_packet->stream_index != m_demuxer->GetVideo().index);
    if (m_packets++ == 0) {
        av_packet_unref(m_firstPacket.get());
        if (av_packet_ref(m_firstPacket.get(), m_packet.get()) < 0)
            ThrowNoMemory("a packet");
    }
    bool const hasTime = m_packet->pts != AV_NOPTS_VALUE;
    std::int64_t const time = ToMicroseconds(m_packet->pts, FromAV(m_demuxer->GetVideo().time_base));
    m_bytes += !hasTime || m_span.Contains(time) ? m_packet->size : 0;
    m_hasPacketTimes = m_hasPacketTimes && hasTime;
    return true;
}

void VideoSource::SelectFrame(std::int64_t microseconds) {
    std::optional<SourceFrame> found;
    Restart();
    if (m_demuxer->Seek(microseconds))
        found = FindShownAt(microseconds, false);
    if (!found) {
        Restart();
        found = FindShownAt(microseconds, true);
    }
    if (!found)
        ThrowNoPicture();
    m_ahead = std::move(found);
    m_ended = true;
    m_frames = 0;
}

/// The last picture that starts by then; before the first one's start that first one, but only where it is
/// known to be the first.
std::optional<SourceFrame> VideoSource::FindShownAt(std::int64_t microseconds, bool fromStart) {
    std::optional<SourceFrame> shown;
    while (std::optional<SourceFrame> frame = Next()) {
        if (frame->data->GetTime() > microseconds) {
            if (!shown && fromStart)
                shown = std::move(frame);
            return shown;
        }
        shown = std::move(frame);
    }
    if (shown && microseconds > shown->data->GetTime() && microseconds >= m_end)
        Core::Throw<OptionsException>(fmt::format("There is no frame at {}: {} ends at {}",
                                                  SecondsText(microseconds), Quote(m_path),
                                                  SecondsText(m_end)));
    return shown;
}

std::vector<std::string> VideoSource::GetNotes() const {
    std::vector<std::string> notes;
    if (m_decoder != nullptr)
        notes = m_decoder->GetNotes();
    if (m_fitter)
        for (std::string& note : m_fitter->GetNotes())
            notes.push_back(std::move(note));
    if (!m_damage.empty())
        notes.push_back(
            fmt::format("The image is damaged ({}): used the part that could be read.", m_damage));
    return notes;
}

} // namespace Tarsel::Media
