#include "Media/AudioReader.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioDecoder.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Container/Demuxer.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/Interrupted.h"
#include "Media/Read/SpanFinder.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

class AudioReading {
public:
    /// Without a number, the best stream.
    AudioReading(Input const& input, std::optional<int> number, std::stop_token const& stop,
                 TimeRange const& range)
        : m_demuxer(input, stop) {
        AVFormatContext const& context = m_demuxer.GetContext();
        int found = 0;
        for (int i = 0; i < static_cast<int>(context.nb_streams) && m_stream == nullptr; ++i) {
            if (context.streams[i]->codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
                continue;
            if (number ? found == *number : i == m_demuxer.GetAudioIndex())
                m_stream = context.streams[i];
            else
                ++found;
        }
        if (m_stream == nullptr)
            Core::Throw<InputException>(
                number ? fmt::format("{} has no audio stream {}", Quote(input.GetName()), *number)
                       : fmt::format("{} has no audio", Quote(input.GetName())));
        m_decoder.emplace(*m_stream, m_demuxer.HasTimes());
        m_span = FindSpan(range, m_demuxer, stop);
        m_demuxer.ForgetRead();
        m_decoder->CutTo(m_span);
        m_demuxer.EndWith(m_span);
        m_info = DescribeAudio(*m_stream, found, m_decoder->GetFormat(), {});
    }

    AudioStreamInfo const& GetInfo() const noexcept { return m_info; }
    Demuxer const& GetDemuxer() const noexcept { return m_demuxer; }

    std::int64_t GetDuration() const noexcept {
        std::int64_t const whole = m_demuxer.GetContext().duration;
        Ratio const timeBase = FromAV(m_stream->time_base);
        std::int64_t const duration = m_stream->duration > 0 ? ToMicroseconds(m_stream->duration, timeBase)
                                                             : std::max<std::int64_t>(whole, 0);
        std::int64_t const start =
            m_stream->start_time == AV_NOPTS_VALUE ? 0 : ToMicroseconds(m_stream->start_time, timeBase);
        Ticks const part = Cut(m_span, {start, av_sat_add64(start, duration)}, s_microsecond);
        return part.end - part.start;
    }

    SP<Proc::IDataAudio> Next() {
        for (;;) {
            if (SP<Proc::IDataAudio> block = m_decoder->Receive()) {
                m_isEmpty = false;
                return block;
            }
            if (std::exchange(m_draining, !ReadPacket())) {
                CheckReached();
                return nullptr;
            }
            m_decoder->Send(m_draining ? nullptr : m_packet.get());
        }
    }

    std::vector<std::string> GetNotes() const {
        std::vector<std::string> notes = m_demuxer.GetNotes();
        for (std::string& note : m_decoder->GetNotes())
            notes.push_back(std::move(note));
        return notes;
    }

private:
    /// A range behind the end of the file, of which only reading it tells.
    void CheckReached() const {
        if (m_isEmpty && !m_span.IsWhole())
            Core::Throw<OptionsException>(fmt::format("There is no audio of {} in the range: it ends at {}",
                                                      Quote(m_demuxer.GetPath()), SecondsText(m_end)));
    }

    /// The next one of the stream; false at the end.
    bool ReadPacket() {
        do {
            av_packet_unref(m_packet.get());
            if (m_draining || !m_demuxer.Read(*m_packet))
                return false;
        } while (m_packet->stream_index != m_stream->index);
        if (m_packet->pts != AV_NOPTS_VALUE)
            m_end = std::max(m_end, ToMicroseconds(av_sat_add64(m_packet->pts, m_packet->duration),
                                                   FromAV(m_stream->time_base)));
        return true;
    }

    Demuxer m_demuxer;
    AVStream const* m_stream = nullptr;
    std::optional<AudioDecoder> m_decoder;
    UniquePacket m_packet = MakePacket();
    AudioStreamInfo m_info;
    Span m_span;
    bool m_draining = false;
    bool m_isEmpty = true;
    /// Of what was read, in microseconds.
    std::int64_t m_end = 0;
};

namespace {

std::unique_ptr<AudioReading> OpenReading(Input const& input, std::optional<int> number,
                                          std::stop_token const& stop, TimeRange const& range) {
    CheckInputPath(input.GetName());
    CheckRange(range);
    try {
        return std::make_unique<AudioReading>(input, number, stop, range);
    } catch (Stopped const&) {
        ThrowInterrupted(input.GetName());
    }
}

} // namespace

AudioReader::AudioReader(Input const& input, std::stop_token stop, TimeRange const& range)
    : m_reading(OpenReading(input, std::nullopt, stop, range)) {}

AudioReader::AudioReader(Input const& input, int number, std::stop_token stop, TimeRange const& range)
    : m_reading(OpenReading(input, number, stop, range)) {}

AudioReader::~AudioReader() = default;

AudioStreamInfo const& AudioReader::GetInfo() const noexcept {
    return m_reading->GetInfo();
}

std::int64_t AudioReader::GetDuration() const noexcept {
    return m_reading->GetDuration();
}

SP<Proc::IDataAudio> AudioReader::Next() {
    try {
        return m_reading->Next();
    } catch (Stopped const&) {
        ThrowInterrupted(m_reading->GetDemuxer().GetPath());
    }
}

std::vector<std::string> AudioReader::GetNotes() const {
    return m_reading->GetNotes();
}

} // namespace Tarsel::Media
