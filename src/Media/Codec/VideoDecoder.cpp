#include "Media/Codec/VideoDecoder.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/DecodeLimits.h"
#include "Media/Codec/VideoCodec.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

/// FFmpeg's own decoders of VP8 and VP9 pass over the alpha that WebM files carry beside the picture.
AVCodec const* FindDecoder(AVStream const& stream) {
    AVCodecID const codec = stream.codecpar->codec_id;
    AVCodec const* decoder = nullptr;
    if (HasSideAlpha(stream)) {
        if (codec == AV_CODEC_ID_VP8)
            decoder = avcodec_find_decoder_by_name("libvpx");
        else if (codec == AV_CODEC_ID_VP9)
            decoder = avcodec_find_decoder_by_name("libvpx-vp9");
    }
    return decoder != nullptr ? decoder : avcodec_find_decoder(codec);
}

bool IsIncomplete(AVFrame const& frame) noexcept {
    return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

} // namespace

VideoDecoder::VideoDecoder(AVFormatContext const& context, AVStream const& stream, Ratio frameRate)
    : m_format(context), m_stream(stream) {
    AVCodec const* const decoder = FindDecoder(stream);
    m_context.reset(CheckAllocated(avcodec_alloc_context3(decoder), "AVCodecContext"));
    int error = avcodec_parameters_to_context(m_context.get(), stream.codecpar);
    m_context->pkt_timebase = stream.time_base;
    m_context->framerate = ToAV(frameRate);
    m_context->thread_count = ChooseCodecThreads();
    if (error >= 0)
        error = avcodec_open2(m_context.get(), decoder, nullptr);
    if (error < 0)
        Core::Throw<InputException>(fmt::format("Cannot decode the video of {} (codec {}): {}",
                                                Quote(context.url != nullptr ? context.url : ""),
                                                avcodec_get_name(stream.codecpar->codec_id),
                                                Proc::GetFFmpegErrorText(error)),
                                    Proc::TagFFmpegError(error));
    if (frameRate.numerator > 0 && frameRate.denominator > 0)
        m_usualDuration = av_rescale_q(1, av_inv_q(ToAV(frameRate)), stream.time_base);
}

void VideoDecoder::Send(AVPacket const* packet) {
    CountDamage(avcodec_send_packet(m_context.get(), packet));
}

std::optional<DecodedFrame> VideoDecoder::Receive() {
    AVFrame& frame = *m_frame;
    int error = avcodec_receive_frame(m_context.get(), &frame);
    for (int failures = 0; error < 0 && failures < s_mostErrorsInARow; ++failures) {
        if (!CountDamage(error))
            return std::nullopt;
        error = avcodec_receive_frame(m_context.get(), &frame);
    }
    if (error < 0)
        return std::nullopt;

    if (IsIncomplete(frame))
        ++m_incomplete;
    FrameTime const time = MakeTime(frame);
    frame.sample_aspect_ratio = av_guess_sample_aspect_ratio(const_cast<AVFormatContext*>(&m_format),
                                                             const_cast<AVStream*>(&m_stream), &frame);
    AddLightLevels(m_stream, frame);
    return DecodedFrame{std::exchange(m_frame, Proc::SafeFrame()), time};
}

FrameTime VideoDecoder::MakeTime(AVFrame const& frame) {
    FrameTime time{frame.best_effort_timestamp, Proc::GetFrameDuration(frame)};
    if (time.duration <= 0)
        time.duration = m_usualDuration;
    if (time.start == AV_NOPTS_VALUE)
        time.start = m_last ? av_sat_add64(m_last->start, std::max<std::int64_t>(m_last->duration, 1)) : 0;
    else if (m_last && time.start <= m_last->start) {
        time.start = av_sat_add64(m_last->start, 1);
        ++m_moved;
    }
    m_last = time;
    return time;
}

/// Whether the error is damage, after which decoding may go on.
bool VideoDecoder::CountDamage(int error) {
    if (error >= 0 || error == AVERROR(EAGAIN) || error == AVERROR_EOF)
        return false;
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory("decoded frames");
    m_lastError = error;
    ++m_damaged;
    return true;
}

std::vector<std::string> VideoDecoder::GetNotes() const {
    std::vector<std::string> notes;
    if (m_damaged > 0)
        notes.push_back(fmt::format("Skipped {}.", CountText(m_damaged, "damaged packet")));
    if (m_incomplete > 0)
        notes.push_back(fmt::format("Concealed damage in {}.", CountText(m_incomplete, "frame")));
    if (m_moved > 0)
        notes.push_back(
            fmt::format("Moved {} that did not increase.", CountText(m_moved, "frame timestamp")));
    return notes;
}

std::string VideoDecoder::GetLastError() const {
    return m_lastError != 0 ? Proc::GetFFmpegErrorText(m_lastError) : std::string();
}

std::string DescribeStillDamage(AVStream const& stream, AVPacket const& packet) {
    // Strict decoders of other codecs refuse good pictures too, as TIFF with a tag that they do not know.
    if (stream.codecpar->codec_id != AV_CODEC_ID_MJPEG)
        return {};
    AVCodec const* const decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    UniqueCodecContext const context(CheckAllocated(avcodec_alloc_context3(decoder), "AVCodecContext"));
    if (avcodec_parameters_to_context(context.get(), stream.codecpar) < 0)
        ThrowNoMemory("codec parameters");
    context->thread_count = 1;
    context->err_recognition = AV_EF_EXPLODE;
    int error = avcodec_open2(context.get(), decoder, nullptr);
    if (error >= 0)
        error = avcodec_send_packet(context.get(), &packet);
    if (error >= 0)
        error = avcodec_send_packet(context.get(), nullptr);
    Proc::SafeFrame frame;
    if (error >= 0)
        error = avcodec_receive_frame(context.get(), frame.Get());
    if (error >= 0)
        return {};
    return error == AVERROR_EOF ? "it is truncated" : Proc::GetFFmpegErrorText(error);
}

} // namespace Tarsel::Media
