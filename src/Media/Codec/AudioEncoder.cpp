#include "Media/Codec/AudioEncoder.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Container/Containers.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Media {

namespace {

/// Packets a second of encoders that take blocks of any length: about one a picture.
constexpr int s_packetsASecond = 25;
/// FFmpeg's encoders without loss take no more, but for one.
constexpr int s_mostBits = 24;
constexpr int s_mostWavpackBits = 32;

/// Of each sample, by an encoder without loss.
int GetHeldBits(AVCodecContext const& context) {
    Conf::SampleFormats const format = Conf::SampleFormatTarselFromFFMPEG(context.sample_fmt);
    int const held = GetExactBits(format);
    int const coded = av_get_exact_bits_per_sample(context.codec_id);
    int const stated = coded > 0 ? coded : context.bits_per_raw_sample;
    return Conf::IsReal(format) || stated == 0 ? held : std::min(held, stated);
}

} // namespace

AudioEncoder::AudioEncoder(AudioRequest const& request)
    : m_input(request.format), m_depth(request.depth), m_packet(MakePacket()) {
    Open(request);
    AVCodecContext const& context = *m_context;
    Conf::SampleInfo format = request.format;
    format.format = Conf::SampleFormatTarselFromFFMPEG(context.sample_fmt);
    format.rate = context.sample_rate;
    format.layout = Conf::TarselFromAVChannelLayout(context.ch_layout);
    m_aligner.emplace(format);
    bool const takesAny = (context.codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0;
    m_frameSize = takesAny || context.frame_size <= 0 ? std::max(context.sample_rate / s_packetsASecond, 1)
                                                      : context.frame_size;
    m_queue.reset(CheckAllocated(
        av_audio_fifo_alloc(context.sample_fmt, context.ch_layout.nb_channels, m_frameSize), "AVAudioFifo"));
}

AudioEncoder::~AudioEncoder() = default;

Ratio AudioEncoder::GetTimeBase() const noexcept {
    return FromAV(m_context->time_base);
}

/// Lists of what encoders take are incomplete: only opening one tells. Nor does each take the usual rate of
/// bits at every rate of samples.
void AudioEncoder::Open(AudioRequest const& request) {
    AVCodec const& encoder = *request.encoder;
    Conf::SampleInfo format = request.format;
    format.format = ChooseSampleFormat(GetSampleFormats(encoder), format.format, request.depth);
    int const fixedRate = GetTraits(*request.container).audioRate;
    format.rate = ChooseSampleRate(GetSampleRates(encoder), fixedRate > 0 ? fixedRate : format.rate);
    int firstError = 0;
    for (Conf::ChannelLayout const& layout : RankLayouts(GetChannelLayouts(encoder), format.layout)) {
        format.layout = layout;
        auto const defaults = MakeAudioOptions(encoder, layout.channels, request.options, request.quality);
        int error = TryOpen(request, format, defaults);
        if (error < 0 && !defaults.empty())
            error = std::max(error, TryOpen(request, format, {}));
        if (error >= 0)
            return;
        if (firstError == 0)
            firstError = error;
    }
    Core::Throw<OutputException>(fmt::format("The encoder \"{}\" cannot encode audio of {}: {}", encoder.name,
                                             Proc::AudioText(request.format),
                                             Proc::GetFFmpegErrorText(firstError)),
                                 Proc::TagFFmpegError(firstError));
}

int AudioEncoder::TryOpen(AudioRequest const& request, Conf::SampleInfo const& format,
                          EncoderOptions const& defaults) {
    m_context.reset(CheckAllocated(avcodec_alloc_context3(request.encoder), "AVCodecContext"));
    AVCodecContext& context = *m_context;
    context.sample_fmt = Conf::ToAVSampleFormat(Conf::SampleFormatFFMPEGFromTarsel(format.format));
    context.sample_rate = format.rate;
    context.ch_layout = Conf::AVChannelLayoutFromTarsel(format.layout);
    context.time_base = {1, format.rate};
    context.thread_count = 1;
    if (format.format == Conf::SampleFormats::S32 || format.format == Conf::SampleFormats::S32Planar)
        context.bits_per_raw_sample = std::min(
            request.depth, request.encoder->id == AV_CODEC_ID_WAVPACK ? s_mostWavpackBits : s_mostBits);
    if ((request.encoder->capabilities & AV_CODEC_CAP_EXPERIMENTAL) != 0)
        context.strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL; // it was asked for by name
    m_options = defaults;
    m_options.insert(m_options.end(), request.options.begin(), request.options.end());
    ApplyEncoderOptions(context, m_options);
    if ((request.container->flags & AVFMT_GLOBALHEADER) != 0)
        context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return CheckMemory(avcodec_open2(&context, request.encoder, nullptr), "an encoder");
}

void AudioEncoder::Encode(Proc::IDataAudio const& block, TakePacket const& give) {
    if (block.GetAVFrame() == nullptr)
        Core::Throw<Proc::EffectException>("A block of audio has no AVFrame");
    m_aligner->Feed(*block.GetAVFrame(), block.GetTime(), s_microsecond);
    EncodeAligned(give);
}

void AudioEncoder::End(TakePacket const& give) {
    m_aligner->End();
    EncodeAligned(give);
    if (int const rest = av_audio_fifo_size(m_queue.get()); rest > 0)
        EncodeQueued(rest, give);
    Send(nullptr, give);
}

void AudioEncoder::EncodeAligned(TakePacket const& give) {
    while (auto const block = m_aligner->Take())
        Queue(**block, give);
}

void AudioEncoder::Queue(AVFrame const& block, TakePacket const& give) {
    int const waiting = av_audio_fifo_size(m_queue.get());
    m_time = block.pts - waiting;
    // It reads only.
    auto* const samples = reinterpret_cast<void**>(const_cast<std::uint8_t**>(block.extended_data));
    if (av_audio_fifo_write(m_queue.get(), samples, block.nb_samples) < block.nb_samples)
        ThrowNoMemory("audio to encode");
    while (av_audio_fifo_size(m_queue.get()) >= m_frameSize)
        EncodeQueued(m_frameSize, give);
}

void AudioEncoder::EncodeQueued(int count, TakePacket const& give) {
    Proc::SafeFrame frame;
    Proc::SetFrameSampleInfo(*frame, m_aligner->GetFormat());
    frame->nb_samples = count;
    frame.AllocateBuffers();
    av_audio_fifo_read(m_queue.get(), reinterpret_cast<void**>(frame->extended_data), count);
    frame->pts = m_time;
    Proc::SetFrameDuration(*frame, count);
    m_time += count;
    Send(frame.Get(), give);
}

/// Null: the end.
void AudioEncoder::Send(AVFrame const* frame, TakePacket const& give) {
    if (m_tell && frame != nullptr)
        m_tell(*frame);
    Check(avcodec_send_frame(m_context.get(), frame));
    for (;;) {
        int const error = avcodec_receive_packet(m_context.get(), m_packet.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
            return;
        Check(error);
        give(*m_packet);
        av_packet_unref(m_packet.get());
    }
}

void AudioEncoder::Check(int error, Core::Site const& site) const {
    if (error < 0)
        Core::Throw<OutputException>(
            site,
            fmt::format("The encoder \"{}\" cannot encode the audio at {}: {}", m_context->codec->name,
                        SecondsText(ToMicroseconds(m_time, GetTimeBase())), Proc::GetFFmpegErrorText(error)),
            Proc::TagFFmpegError(error));
}

std::vector<std::string> AudioEncoder::DescribeLosses() const {
    std::vector<std::string> notes;
    Conf::SampleInfo const& made = m_aligner->GetFormat();
    std::string change;
    if (made.rate != m_input.rate)
        change = fmt::format("from {} Hz to {} Hz", m_input.rate, made.rate);
    if (made.layout.channels != m_input.layout.channels)
        change += fmt::format("{}from {} to {}", change.empty() ? "" : " and ", m_input.layout.GetName(),
                              made.layout.GetName());
    if (!change.empty())
        notes.push_back(
            fmt::format("Converted the audio {} for the encoder {}.", change, m_context->codec->name));
    // What loses audio anyway has no depth.
    AVCodecDescriptor const* const codec = avcodec_descriptor_get(m_context->codec_id);
    bool const isExact = codec != nullptr && (codec->props & AV_CODEC_PROP_LOSSLESS) != 0;
    // Real numbers of 32 bits hold 24 exactly.
    int const exact = GetExactBits(m_depth > 32 ? Conf::SampleFormats::Double : Conf::SampleFormats::Float);
    int const bits = Conf::IsReal(m_input.format) ? std::min(m_depth, exact) : m_depth;
    if (int const held = GetHeldBits(*m_context); isExact && held < bits)
        notes.push_back(fmt::format("Reduced the audio from {} to {} bits for the encoder {}.", m_depth, held,
                                    m_context->codec->name));
    return notes;
}

} // namespace Tarsel::Media
