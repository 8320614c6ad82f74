#include "Media/Run/PartJoiner.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

namespace {

/// What packets of one stream have in common, as users know it.
struct StreamProperty {
    char const* name;
    std::string (*get)(AVStream const&);
};

std::string_view GetCodecHeader(AVCodecParameters const& parameters) {
    return {reinterpret_cast<char const*>(parameters.extradata),
            static_cast<std::size_t>(std::max(parameters.extradata_size, 0))};
}

constexpr StreamProperty s_streamProperties[] = {
    {"codec",
     [](AVStream const& stream) -> std::string { return avcodec_get_name(stream.codecpar->codec_id); }},
    {"size",
     [](AVStream const& stream) {
         return fmt::format("{}x{}", stream.codecpar->width, stream.codecpar->height);
     }},
    {"pixel format",
     [](AVStream const& stream) -> std::string {
         char const* const name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(stream.codecpar->format));
         return name != nullptr ? name : "unknown";
     }},
    {"time base",
     [](AVStream const& stream) { return fmt::format("{}/{}", stream.time_base.num, stream.time_base.den); }},
};

} // namespace

PartJoiner::PartJoiner(std::vector<EncodedPart> parts, std::stop_token stop)
    : m_parts(std::move(parts)), m_stop(std::move(stop)) {
    std::erase_if(m_parts, [](EncodedPart const& part) { return part.facts.frames == 0; });
    if (m_parts.empty())
        Core::Throw<InputException>("The parts hold no frames");
    m_whole = m_parts.front().facts;
    m_whole.frames = m_whole.packets = 0;
    for (EncodedPart const& part : m_parts) {
        m_whole.frames += part.facts.frames;
        m_whole.packets += part.facts.packets;
    }
    m_first = std::make_unique<Demuxer>(m_parts.front().file, m_stop);
    if (!m_first->HasVideo())
        Core::Throw<InputException>(fmt::format("{} has no video", Quote(m_parts.front().file)));
}

bool PartJoiner::Read(AVPacket& packet) {
    while (m_ready.empty()) {
        if (m_file == nullptr && !OpenNext())
            return false;
        ReadAhead();
    }
    av_packet_unref(&packet);
    av_packet_move_ref(&packet, m_ready.front().get());
    m_ready.pop_front();
    return true;
}

/// Up to a packet of which the file says when it is decoded: Matroska does not, and FFmpeg guesses it for all
/// but those at the beginning, which a muxer has to be told like any other.
void PartJoiner::ReadAhead() {
    while (m_ready.empty() || m_ready.back()->dts == AV_NOPTS_VALUE) {
        UniquePacket packet = ReadPart();
        if (packet == nullptr) {
            CheckComplete();
            m_file.reset();
            ++m_at;
            break;
        }
        m_ready.push_back(std::move(packet));
    }
    if (m_ready.empty())
        return;
    // Each a frame before the next, and the last of them by when the first is shown.
    std::int64_t const step = std::max<std::int64_t>(m_ready.front()->duration, 1);
    std::int64_t next = m_ready.front()->pts + step;
    for (auto packet = m_ready.rbegin(); packet != m_ready.rend(); ++packet) {
        if ((*packet)->dts == AV_NOPTS_VALUE)
            (*packet)->dts = std::min(next - step, (*packet)->pts);
        next = (*packet)->dts;
    }
}

/// The next packet of the part that is open; null at its end.
UniquePacket PartJoiner::ReadPart() {
    UniquePacket packet = MakePacket();
    do {
        av_packet_unref(packet.get());
        if (!m_file->Read(*packet))
            return nullptr;
    } while (packet->stream_index != m_file->GetVideoIndex());
    if (packet->pts == AV_NOPTS_VALUE)
        packet->pts = packet->dts;
    PartFacts const& facts = m_parts[m_at].facts;
    auto const toTicks = [&](std::int64_t time) {
        return av_rescale_q(time, ToAV(facts.timeBase), GetStream().time_base);
    };
    // Encoders begin with the frame that is shown first.
    if (m_packets++ == 0)
        m_shift = toTicks(facts.first) - packet->pts;
    packet->pts += m_shift;
    if (packet->dts != AV_NOPTS_VALUE)
        packet->dts += m_shift;
    // Of which files do not always say how long it lasts.
    if (packet->pts == toTicks(facts.last))
        packet->duration = toTicks(facts.end) - packet->pts;
    return packet;
}

bool PartJoiner::OpenNext() {
    if (m_at == m_parts.size())
        return false;
    m_file = std::make_unique<Demuxer>(m_parts[m_at].file, m_stop);
    m_packets = 0;
    CheckLikeFirst();
    return true;
}

void PartJoiner::CheckLikeFirst() const {
    auto const fail = [&](std::string const& reason) {
        Core::Throw<InputException>(fmt::format("Make {} again: it does not fit {}: {}",
                                                Quote(m_parts[m_at].file), Quote(m_parts.front().file),
                                                reason));
    };
    if (!m_file->HasVideo())
        fail("it has no video");
    for (StreamProperty const& property : s_streamProperties)
        if (std::string const is = property.get(m_file->GetVideo()), due = property.get(GetStream());
            is != due)
            fail(fmt::format("its {} is {}, not {}", property.name, is, due));
    if (GetCodecHeader(*m_file->GetVideo().codecpar) != GetCodecHeader(*GetStream().codecpar))
        fail("the encoder wrote another header; --threads can be the reason");
}

void PartJoiner::CheckComplete() const {
    if (PartFacts const& facts = m_parts[m_at].facts; m_packets != facts.packets)
        Core::Throw<InputException>(fmt::format("Make {} again: it holds {}, not {}",
                                                Quote(m_parts[m_at].file), CountText(m_packets, "packet"),
                                                facts.packets));
}

} // namespace Tarsel::Media
