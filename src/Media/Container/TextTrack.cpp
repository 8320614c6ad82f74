#include "Media/Container/TextTrack.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Container/Containers.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

constexpr AVRational s_millisecond{1, 1000};
/// No subtitle is as long.
constexpr std::size_t s_longest = std::size_t{1} << 20U;

AVCodec const* FindEncoder(AVOutputFormat const& format) {
    char const* const name = GetTraits(format).textEncoder;
    return name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr;
}

/// What a decoder found, freed.
struct DecodedText : AVSubtitle {
    DecodedText() noexcept : AVSubtitle{} {}
    DecodedText(DecodedText const&) = delete;
    DecodedText& operator=(DecodedText const&) = delete;
    ~DecodedText() { avsubtitle_free(this); }
};

[[noreturn]] void ThrowCannotConvert(AVCodecContext const& from, std::string const& to, int error,
                                     Core::Site const& site = Core::Site::Here()) {
    Core::Throw<OutputException>(site,
                                 fmt::format("Cannot convert subtitles from {} to {}: {}",
                                             avcodec_get_name(from.codec_id), to,
                                             Proc::GetFFmpegErrorText(error)),
                                 Proc::TagFFmpegError(error));
}

} // namespace

bool TextTrack::IsNeeded(AVStream const& source, AVOutputFormat const& format) {
    AVCodecID const codec = source.codecpar->codec_id;
    AVCodecDescriptor const* const descriptor = avcodec_descriptor_get(codec);
    bool const isText = descriptor != nullptr && source.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE &&
                        (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
    bool const isHeld =
        IsKnownIn(format, codec) && avformat_query_codec(&format, codec, FF_COMPLIANCE_EXPERIMENTAL) == 1;
    return isText && !isHeld && avcodec_find_decoder(codec) != nullptr && FindEncoder(format) != nullptr;
}

TextTrack::TextTrack(AVStream const& source, AVOutputFormat const& format) : m_buffer(s_longest) {
    AVCodec const* const from = avcodec_find_decoder(source.codecpar->codec_id);
    AVCodec const* const to = FindEncoder(format);
    m_decoder.reset(CheckAllocated(avcodec_alloc_context3(from), "AVCodecContext"));
    int error = avcodec_parameters_to_context(m_decoder.get(), source.codecpar);
    m_decoder->pkt_timebase = source.time_base;
    if (error >= 0)
        error = avcodec_open2(m_decoder.get(), from, nullptr);
    if (error < 0)
        ThrowCannotConvert(*m_decoder, to->name, error);
    m_encoder.reset(CheckAllocated(avcodec_alloc_context3(to), "AVCodecContext"));
    m_encoder->time_base = ToAV(s_microsecond);
    if (m_decoder->subtitle_header != nullptr) {
        auto const size = static_cast<std::size_t>(m_decoder->subtitle_header_size);
        // Text, which ends with a zero.
        m_encoder->subtitle_header =
            static_cast<std::uint8_t*>(CheckAllocated(av_mallocz(size + 1), "subtitle styles"));
        std::copy_n(m_decoder->subtitle_header, size, m_encoder->subtitle_header);
        m_encoder->subtitle_header_size = m_decoder->subtitle_header_size;
    }
    error = avcodec_open2(m_encoder.get(), to, nullptr);
    if (error < 0)
        ThrowCannotConvert(*m_decoder, to->name, error);
}

TextTrack::~TextTrack() = default;

bool TextTrack::Convert(AVPacket& packet) {
    DecodedText text;
    int isThere = 0;
    int const error = avcodec_decode_subtitle2(m_decoder.get(), &text, &isThere, &packet);
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory("subtitles");
    if (error < 0)
        ++m_damaged;
    bool const isThereAll = error >= 0 && isThere != 0 && text.num_rects > 0;
    if (isThereAll && text.pts == AV_NOPTS_VALUE)
        ++m_damaged; // nobody knows when it is to be shown
    bool const isMade = isThereAll && text.pts != AV_NOPTS_VALUE && Encode(text, packet);
    if (!isMade)
        av_packet_unref(&packet);
    return isMade;
}

bool TextTrack::Encode(AVSubtitle& text, AVPacket& packet) {
    // Encoders take nothing that begins later than it says.
    std::int64_t const start =
        text.pts + av_rescale_q(text.start_display_time, s_millisecond, ToAV(s_microsecond));
    std::int64_t const length = std::int64_t{text.end_display_time} - text.start_display_time;
    text.pts = start;
    text.end_display_time -= text.start_display_time;
    text.start_display_time = 0;
    int const size =
        avcodec_encode_subtitle(m_encoder.get(), m_buffer.data(), static_cast<int>(m_buffer.size()), &text);
    if (size < 0) {
        ++m_damaged;
        return false;
    }
    AVRational const timeBase = m_decoder->pkt_timebase;
    int const stream = packet.stream_index;
    std::int64_t const duration =
        packet.duration > 0 ? packet.duration : av_rescale_q(length, s_millisecond, timeBase);
    av_packet_unref(&packet);
    if (av_new_packet(&packet, size) < 0)
        ThrowNoMemory("subtitles");
    std::copy_n(m_buffer.data(), size, packet.data);
    packet.stream_index = stream;
    packet.pts = packet.dts = av_rescale_q(start, ToAV(s_microsecond), timeBase);
    packet.duration = duration;
    packet.flags |= AV_PKT_FLAG_KEY;
    return size > 0;
}

std::string TextTrack::Describe() const {
    return fmt::format("Converted the subtitles from {} to {}.", avcodec_get_name(m_decoder->codec_id),
                       avcodec_get_name(m_encoder->codec_id));
}

std::vector<std::string> TextTrack::GetNotes() const {
    if (m_damaged == 0)
        return {};
    return {"Skipped " + CountText(m_damaged, "damaged subtitle") + '.'};
}

} // namespace Tarsel::Media
