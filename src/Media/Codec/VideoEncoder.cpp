#include "Media/Codec/VideoEncoder.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/Encoders.h"
#include "Media/Codec/VideoCodec.h"
#include "Media/Container/Containers.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/FrameRoom.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

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

/// More than any encoder looks ahead.
constexpr std::size_t s_mostTimes = 4096;

bool DescribesColors(AVFrame const& frame) noexcept {
    return frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.color_primaries != AVCOL_PRI_UNSPECIFIED &&
           frame.color_trc != AVCOL_TRC_UNSPECIFIED;
}

} // namespace

VideoEncoder::VideoEncoder(EncoderRequest const& request, WorkedFrame const& first)
    : m_first(first.data), m_timeBase(request.timeBase),
      m_frameRate(ChooseFrameRate(request.inputRate, request.inputDuration, first.data->GetDuration())),
      m_packet(MakePacket()) {
    AVFrame const& frame = GetFirstFrame();
    Proc::SwsCtxSide const side = Proc::SideOf(frame);
    EncoderRules rules = GetEncoderRules(*request.encoder, *request.container);
    // MP4 tells the range as part of a whole description of the colors only.
    if (GetTraits(*request.container).isMovFamily && !rules.codec.tellsRange && !DescribesColors(frame))
        rules.losesRange = true;
    // Without loss it knows RGB only.
    if (rules.codec.isWebp && request.quality == Quality::Lossless)
        std::erase_if(rules.formats, [](Conf::PixFmt each) { return !Conf::Color::IsRgbLike(each); });
    m_wholeChroma = rules.codec.wantsWholeChroma;
    m_conversion = ChooseVideoConversion(side.format, side.space, side.width, side.height, rules,
                                         FindYuvOrigin(request.input));
    if (m_conversion.format == Conf::PixFmt::None)
        Core::Throw<OutputException>(fmt::format("The encoder \"{}\" cannot take frames of {}",
                                                 request.encoder->name, Proc::PictureText(frame)));
    auto const& made = Conf::PixFmtDescription::Find(m_conversion.format);
    m_losesFullRange = Conf::PixFmtDescription::Find(side.format).IsFullRange(side.space) &&
                       !Conf::Color::IsRgbLike(side.format) && !Conf::Color::IsRgbLike(m_conversion.format) &&
                       !made.IsFullRange(m_conversion.space);
    if (m_conversion.isConverted)
        m_scaler =
            Proc::SafeSwsContext({side, {side.width, side.height, m_conversion.format, m_conversion.space}});
    Open(request);
}

VideoEncoder::~VideoEncoder() = default;

void VideoEncoder::Open(EncoderRequest const& request) {
    AVFrame const& frame = GetFirstFrame();
    if (int const least = GetLeastSize(*request.encoder); std::min(frame.width, frame.height) < least)
        Core::Throw<OutputException>(
            fmt::format("The encoder \"{0}\" takes no frames smaller than {1}x{1}; these are {2}x{3}",
                        request.encoder->name, least, frame.width, frame.height));
    m_context.reset(CheckAllocated(avcodec_alloc_context3(request.encoder), "AVCodecContext"));
    AVCodecContext& context = *m_context;
    context.width = frame.width;
    context.height = frame.height;
    context.pix_fmt = Conf::ToAVPixelFormat(m_conversion.format);
    context.sample_aspect_ratio = frame.sample_aspect_ratio;
    if (auto const rates = GetFrameRates(*request.encoder); !rates.empty() && m_frameRate.numerator > 0) {
        m_frameRate = ChooseLegalRate(rates, m_frameRate);
        context.strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL; // for rates below those of television
    }
    // Where the file keeps no times the stream's own unit of time is taken for the rate.
    m_countsFrames = !request.isStill && m_frameRate.numerator > 0 && !KeepsTimes(*request.container);
    Ratio const tick = m_countsFrames ? Ratio{m_frameRate.denominator, m_frameRate.numerator} : m_timeBase;
    context.time_base = ToAV(ChooseEncoderTimeBase(request.encoder->id, tick, m_frameRate));
    context.framerate = ToAV(m_frameRate);
    context.colorspace = static_cast<AVColorSpace>(m_conversion.space.matrix);
    context.color_range = static_cast<AVColorRange>(m_conversion.space.range);
    context.color_primaries = static_cast<AVColorPrimaries>(m_conversion.space.primaries);
    context.color_trc = frame.color_trc;
    context.chroma_sample_location = frame.chroma_location;
    context.thread_count = request.isStill ? 1 : ChooseCodecThreads();
    if ((request.encoder->capabilities & AV_CODEC_CAP_EXPERIMENTAL) != 0)
        context.strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL; // it was asked for by name
    SetInterlacing(frame);
    EncoderOptions options = MakeLightOptions(*request.encoder, frame);
    m_losesLight = options.empty() && HasLightLevels(frame) && !GetTraits(*request.container).saysRange;
    options.insert(options.end(), request.options.begin(), request.options.end());
    m_options = MakeVideoOptions(*request.encoder, options, request.quality, context.thread_count);
    ApplyEncoderOptions(context, m_options);
    if ((request.container->flags & AVFMT_GLOBALHEADER) != 0)
        context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    int const error = CheckMemory(avcodec_open2(&context, request.encoder, nullptr), "an encoder");
    if (error < 0)
        Core::Throw<OutputException>(fmt::format("The encoder \"{}\" cannot encode frames of {}x{} {}: {}",
                                                 request.encoder->name, frame.width, frame.height,
                                                 Proc::PixelFormatText(context.pix_fmt),
                                                 Proc::GetFFmpegErrorText(error)),
                                     Proc::TagFFmpegError(error));
}

/// Pictures that are two fields each are encoded as such where the encoder can.
void VideoEncoder::SetInterlacing(AVFrame const& frame) {
    Proc::FieldOrder const order = Proc::GetFrameFieldOrder(frame);
    if (order == Proc::FieldOrder::Progressive)
        return;
    m_context->field_order = order == Proc::FieldOrder::TopFirst ? AV_FIELD_TT : AV_FIELD_BB;
    // A chroma row belongs to two rows of one field, so to four of the picture.
    bool const canInterlace = GetCodecFacts(m_context->codec->id).holdsFields && frame.height % 4 == 0;
    if (canInterlace)
        m_context->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    m_losesFields = !canInterlace && !LosesNothing(*m_context->codec);
}

void VideoEncoder::Send(WorkedFrame const& worked) {
    CheckLikeFirst(worked);
    Proc::SafeFrame frame = Proc::MakeRegular(*worked.data->GetAVFrame());
    if (m_conversion.isConverted)
        frame = Convert(*frame);
    frame->format = static_cast<int>(m_conversion.format);
    frame->pict_type = AV_PICTURE_TYPE_NONE; // the encoder's own choice, not that of the input's encoder
    // Encoders with a quantizer scale read it from each picture.
    frame->quality = m_context->global_quality;
    // The caller has dealt with the orientation; a tag beside it would turn the picture twice.
    av_frame_remove_side_data(frame.Get(), AV_FRAME_DATA_DISPLAYMATRIX);
    Proc::SetFrameColorSpace(*frame, m_conversion.space);

    AVRational const timeBase = m_context->time_base;
    frame->pts = av_rescale_q(worked.time.start, ToAV(m_timeBase), timeBase);
    if (m_countsFrames && m_lastTime != INT64_MIN && frame->pts != m_lastTime + 1)
        ++m_unevenTimes;
    if (m_lastTime != INT64_MIN)
        frame->pts = std::max(frame->pts, av_sat_add64(m_lastTime, 1));
    m_lastTime = frame->pts;
    Proc::SetFrameDuration(*frame, av_rescale_q(worked.time.duration, ToAV(m_timeBase), timeBase));

    if (m_times.size() == s_mostTimes)
        m_times.erase(m_times.begin());
    m_times[frame->pts] = worked.time;
    if (m_tell)
        m_tell(*frame, worked.time);
    SendFrame(frame.Get());
    ++m_frames;
}

void VideoEncoder::End() {
    SendFrame(nullptr);
}

void VideoEncoder::SendFrame(AVFrame const* frame) {
    int const error = avcodec_send_frame(m_context.get(), frame);
    if (error < 0)
        Core::Throw<OutputException>(
            fmt::format("The encoder \"{}\" cannot encode the frame at {}: {}", m_context->codec->name,
                        SecondsText(ToMicroseconds(m_lastTime, FromAV(m_context->time_base))),
                        Proc::GetFFmpegErrorText(error)),
            Proc::TagFFmpegError(error));
}

void VideoEncoder::CheckLikeFirst(WorkedFrame const& worked) const {
    AVFrame const& first = GetFirstFrame();
    AVFrame const& frame = *worked.data->GetAVFrame();
    if (frame.width != first.width || frame.height != first.height || frame.format != first.format)
        Core::Throw<OutputException>(fmt::format(
            "The frames change from {} to {} at {}: one stream cannot hold both", Proc::PictureText(first),
            Proc::PictureText(frame), SecondsText(worked.data->GetTime())));
}

Proc::SafeFrame VideoEncoder::Convert(AVFrame const& frame) const {
    Conf::FrameInfo const info = Proc::GetFrameInfo(frame);
    Proc::SafeFrame converted(m_conversion.space, m_conversion.format, info.width, info.height,
                              info.aspectNum, info.aspectDen);
    converted.CopyProperties(frame);
    m_scaler.Scale(frame, *converted);
    return converted;
}

AVPacket* VideoEncoder::Receive() {
    AVPacket* const packet = m_packet.get();
    int const error = avcodec_receive_packet(m_context.get(), packet);
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
        return nullptr;
    if (error < 0)
        Core::Throw<OutputException>(fmt::format("The encoder \"{}\" failed: {}", m_context->codec->name,
                                                 Proc::GetFFmpegErrorText(error)),
                                     Proc::TagFFmpegError(error));
    m_packets += packet->size > 0 ? 1 : 0; // Theora repeats the picture before by an empty one
    if (auto const known = m_times.find(packet->pts); known != m_times.end())
        packet->duration = known->second.duration;
    else
        packet->duration = av_rescale_q(packet->duration, m_context->time_base, ToAV(m_timeBase));
    if (packet->duration <= 0 && m_frameRate.numerator > 0)
        packet->duration = av_rescale_q(1, av_inv_q(ToAV(m_frameRate)), ToAV(m_timeBase));
    packet->pts = ToOwnTime(packet->pts);
    if (packet->dts != AV_NOPTS_VALUE)
        packet->dts = std::min(ToOwnTime(packet->dts), packet->pts);
    return packet;
}

/// Decoding times are presentation times of earlier pictures, or so many steps before the first.
std::int64_t VideoEncoder::ToOwnTime(std::int64_t encoderTime) const {
    auto const next = m_times.upper_bound(encoderTime);
    auto const& [known, time] = next == m_times.begin() ? *next : *std::prev(next);
    return av_sat_add64(time.start,
                        av_rescale_q(encoderTime - known, m_context->time_base, ToAV(m_timeBase)));
}

std::vector<std::string> VideoEncoder::DescribeLosses() const {
    std::vector<std::string> notes;
    if (m_losesFields)
        notes.push_back(
            fmt::format("Encoded interlaced frames as progressive: the encoder {} has no interlaced mode.",
                        m_context->codec->name));
    if (m_losesFullRange)
        notes.push_back(fmt::format("Converted the video from full to limited range for the encoder {}.",
                                    m_context->codec->name));
    if (m_losesLight)
        notes.emplace_back(
            "Left out the HDR light levels: neither the encoder nor the container keeps them.");
    if (std::string change = DescribeConversion(); !change.empty())
        notes.push_back(std::move(change));
    return notes;
}

std::vector<std::string> VideoEncoder::GetNotes() const {
    std::vector<std::string> notes;
    if (m_unevenTimes > 0)
        notes.push_back(fmt::format("Moved {} to match the frame rate: the file keeps no timestamps.",
                                    CountText(m_unevenTimes, "frame")));
    // A whole animation is one packet of WebP.
    if (m_packets < m_frames && !GetCodecFacts(m_context->codec_id).isWebp)
        notes.push_back(fmt::format("Choose another encoder to keep every frame: {} left out {} of {}.",
                                    m_context->codec->name, m_frames - m_packets, m_frames));
    return notes;
}

/// "" where there is none that a user need know of.
std::string VideoEncoder::DescribeConversion() const {
    if (!m_conversion.isConverted)
        return {};
    AVFrame const& first = GetFirstFrame();
    std::string const change = fmt::format("Converted the frames from {} to {} for the encoder {}",
                                           Proc::PixelFormatText(first.format),
                                           Proc::PixelFormatText(m_context->pix_fmt), m_context->codec->name);
    bool const isOdd = first.width % 2 != 0 || first.height % 2 != 0;
    if (std::string const lost = Conf::GetLossText(m_conversion.loss & ~FF_LOSS_COLORSPACE); !lost.empty())
        return change + "; lost: " + lost + ".";
    if (m_wholeChroma && isOdd)
        return change + ", which takes odd sizes in no other format.";
    if ((m_conversion.loss & FF_LOSS_COLORSPACE) != 0)
        return change + ".";
    return {}; // another order of the same values
}

} // namespace Tarsel::Media
