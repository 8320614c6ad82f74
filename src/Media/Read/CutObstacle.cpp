#include "Media/Read/CutObstacle.h"

#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"

#include <fmt/format.h>

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

bool IsOfKeyFramesOnly(AVStream const& video) noexcept {
    AVCodecDescriptor const* const codec = avcodec_descriptor_get(video.codecpar->codec_id);
    return codec != nullptr && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

/// Packets of the video, in decoding order.
class Scan {
public:
    Scan(Demuxer const& input, Span const& span) : m_input(input), m_span(span), m_demuxer(input.Reopen()) {}

    std::string Describe();

private:
    void Next();
    void GoTo(std::int64_t time);
    std::string DescribeBeginning();
    std::string DescribeEnd();

    Demuxer const& m_input;
    Span m_span;
    std::unique_ptr<Demuxer> m_demuxer;
    /// The packet at hand; none where the file has ended, or says no times.
    UniquePacket m_packet = MakePacket();
    bool m_isThere = false;
    bool m_lacksTime = false;
    bool m_isKey = false;
    /// In microseconds.
    std::int64_t m_shown = 0;
    std::int64_t m_decoded = INT64_MIN;
};

void Scan::Next() {
    AVStream const& video = m_demuxer->GetVideo();
    m_isThere = false;
    do {
        av_packet_unref(m_packet.get());
        if (!m_demuxer->Read(*m_packet))
            return;
    } while (m_packet->stream_index != video.index);
    m_lacksTime = m_packet->pts == AV_NOPTS_VALUE;
    m_isKey = (m_packet->flags & AV_PKT_FLAG_KEY) != 0;
    m_shown = ToMicroseconds(m_packet->pts, FromAV(video.time_base));
    if (m_packet->dts != AV_NOPTS_VALUE) // Matroska leaves it to be guessed, at the beginning
        m_decoded = ToMicroseconds(m_packet->dts, FromAV(video.time_base));
    m_isThere = !m_lacksTime;
}

/// To a key frame shown by then: all that is decoded before is shown before.
void Scan::GoTo(std::int64_t time) {
    bool const isSought = m_demuxer->SeeksExactly() && time > m_demuxer->GetStart() && m_demuxer->Seek(time);
    Next();
    if (isSought && m_isThere && m_isKey && m_shown <= time)
        return;
    m_demuxer = m_input.Reopen();
    Next();
}

/// From the first packet of the span to the next key frame.
std::string Scan::DescribeBeginning() {
    GoTo(m_span.from);
    while (m_isThere && !m_span.Contains(m_shown))
        Next();
    std::int64_t const first = m_shown;
    if (m_isThere && !m_isKey)
        return fmt::format("the range begins between key frames, at {}", SecondsText(first));
    for (Next(); m_isThere && !m_isKey && m_decoded < m_span.to; Next())
        if (m_shown < first)
            return fmt::format("frames before and after {} depend on each other", SecondsText(first));
    return {};
}

/// What is decoded after a frame behind the span may need it.
std::string Scan::DescribeEnd() {
    GoTo(m_span.to);
    bool isBehind = false;
    for (; m_isThere && m_decoded < m_span.to; Next()) {
        isBehind = isBehind || m_shown >= m_span.to;
        if (isBehind && m_span.Contains(m_shown))
            return fmt::format("frames before and after {} depend on each other", SecondsText(m_span.to));
    }
    return {};
}

std::string Scan::Describe() {
    if (IsOfKeyFramesOnly(m_demuxer->GetVideo()))
        return {};
    std::string obstacle = m_span.from != INT64_MIN ? DescribeBeginning() : std::string();
    if (obstacle.empty() && m_span.to != INT64_MAX)
        obstacle = DescribeEnd();
    return obstacle.empty() && m_lacksTime ? "the input states no frame times" : obstacle;
}

} // namespace

std::string DescribeCutObstacle(Demuxer const& input, Span const& span) {
    return span.IsWhole() ? std::string() : Scan(input, span).Describe();
}

} // namespace Tarsel::Media
