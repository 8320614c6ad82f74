#include "Media/Codec/AudioDecoder.h"

#include "Conf/AVFormats.h"
#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/DecodeLimits.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataAudioFF.h"
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
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Media {

namespace {

[[noreturn]] void ThrowUndecodable(AVStream const& stream, std::string const& reason, int error) {
    Core::Throw<InputException>(fmt::format("Cannot decode the audio of stream {} (codec {}): {}",
                                            stream.index, avcodec_get_name(stream.codecpar->codec_id),
                                            reason),
                                Proc::TagFFmpegError(error));
}

bool IsWide(int format) noexcept {
    return av_get_packed_sample_fmt(Conf::ToAVSampleFormat(format)) == AV_SAMPLE_FMT_S64;
}

/// That in which samples of a format are worked on.
Conf::SampleFormats GetWorkFormat(int format) noexcept {
    bool const isPlanar = av_sample_fmt_is_planar(Conf::ToAVSampleFormat(format)) != 0;
    return !IsWide(format) ? Conf::SampleFormatTarselFromFFMPEG(format)
           : isPlanar      ? Conf::SampleFormats::DoublePlanar
                           : Conf::SampleFormats::Double;
}

/// The same block, its 64-bit integers as real numbers from −1 to 1.
Proc::SafeFrame MakeReal(AVFrame const& block) {
    Conf::SampleInfo info = Proc::GetFrameSampleInfo(block);
    info.format = GetWorkFormat(block.format);
    Proc::SafeFrame real;
    Proc::SetFrameSampleInfo(*real, info);
    real->nb_samples = block.nb_samples;
    real.AllocateBuffers();
    bool const isPlanar = av_sample_fmt_is_planar(Conf::ToAVSampleFormat(block.format)) != 0;
    int const planes = isPlanar ? block.ch_layout.nb_channels : 1;
    int const count = block.nb_samples * (block.ch_layout.nb_channels / planes);
    for (int plane = 0; plane < planes; ++plane) {
        auto const* const from = reinterpret_cast<std::int64_t const*>(block.extended_data[plane]);
        auto* const to = reinterpret_cast<double*>(real->extended_data[plane]);
        std::transform(from, from + count, to,
                       [](std::int64_t sample) { return static_cast<double>(sample) * 0x1p-63; });
    }
    return real;
}

} // namespace

AudioDecoder::AudioDecoder(AVStream const& stream, bool hasTimes)
    : m_timeBase(FromAV(stream.time_base)), m_hasTimes(hasTimes) {
    AVCodec const* const decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (decoder == nullptr)
        ThrowUndecodable(stream, "this FFmpeg has no decoder for it", AVERROR_DECODER_NOT_FOUND);
    m_context.reset(CheckAllocated(avcodec_alloc_context3(decoder), "AVCodecContext"));
    int error = avcodec_parameters_to_context(m_context.get(), stream.codecpar);
    m_context->pkt_timebase = stream.time_base;
    m_context->thread_count = 1;
    if (error >= 0)
        error = avcodec_open2(m_context.get(), decoder, nullptr);
    if (error < 0)
        ThrowUndecodable(stream, Proc::GetFFmpegErrorText(error), error);

    Conf::SampleInfo format = GetSampleInfo(*stream.codecpar);
    if (format.format == Conf::SampleFormats::Unknown)
        format.format = GetWorkFormat(m_context->sample_fmt);
    if (!Conf::IsKnown(format))
        ThrowUndecodable(stream, "its sample format, rate or channel layout is unknown", AVERROR_INVALIDDATA);
    m_aligner.emplace(format);
}

AudioDecoder::~AudioDecoder() = default;

void AudioDecoder::Send(AVPacket const* packet) {
    m_packetDuration = packet != nullptr ? packet->duration : 0;
    CountDamage(avcodec_send_packet(m_context.get(), packet));
}

SP<Proc::IDataAudio> AudioDecoder::Receive() {
    for (;;) {
        if (auto block = m_aligner->Take()) {
            Ratio const sample{1, GetFormat().rate};
            AVFrame const& all = **block;
            Ticks const part = Cut(m_span, {all.pts, all.pts + all.nb_samples}, sample);
            if (part.end <= part.start)
                continue;
            if (part.end - part.start < all.nb_samples)
                block = CopySamples(all, static_cast<int>(part.start - all.pts),
                                    static_cast<int>(part.end - part.start));
            std::int64_t const origin = ToTicks(m_span.GetOrigin(), sample);
            std::int64_t const start = part.start - origin;
            std::int64_t const end = part.end - origin;
            SP<Proc::IDataAudio> data = MakeSP<Proc::DataAudioFF>(std::move(*block));
            data->SetTime(ToMicroseconds(start, sample));
            data->SetDuration(ToMicroseconds(end, sample) - data->GetTime());
            return data;
        }
        if (!Decode())
            return nullptr;
    }
}

/// Puts the next decoded block into the line; false until another packet is sent.
bool AudioDecoder::Decode() {
    AVFrame& frame = *m_frame;
    int error = avcodec_receive_frame(m_context.get(), &frame);
    for (int failures = 0; error < 0 && failures < s_mostErrorsInARow && CountDamage(error); ++failures)
        error = avcodec_receive_frame(m_context.get(), &frame);
    if (error >= 0) {
        // FFmpeg guessed them from the rate at the beginning.
        if (!m_hasTimes && frame.sample_rate != GetFormat().rate)
            m_ignoresTimes = true;
        std::int64_t const time = m_ignoresTimes ? AV_NOPTS_VALUE : frame.best_effort_timestamp;
        if (IsWide(frame.format))
            m_aligner->Feed(*MakeReal(frame), time, m_timeBase);
        else
            m_aligner->Feed(frame, time, m_timeBase);
        av_frame_unref(&frame);
        return true;
    }
    if (error == AVERROR_EOF && !std::exchange(m_ended, true)) {
        m_aligner->End();
        return true;
    }
    return false;
}

/// Whether the error is damage, after which decoding may go on.
bool AudioDecoder::CountDamage(int error) {
    if (error >= 0 || error == AVERROR(EAGAIN) || error == AVERROR_EOF)
        return false;
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory("decoded audio");
    ++m_damaged;
    m_lost = av_sat_add64(m_lost, m_packetDuration);
    m_aligner->ExpectLoss();
    return true;
}

std::vector<std::string> AudioDecoder::GetNotes() const {
    std::vector<std::string> notes = m_aligner->GetNotes();
    if (IsWide(m_context->sample_fmt))
        notes.insert(notes.begin(),
                     "Rounded 64-bit integer samples to floating-point samples, which hold 53 bits.");
    if (m_damaged > 0)
        notes.insert(notes.begin(),
                     fmt::format("Skipped {}{}.", CountText(m_damaged, "damaged audio packet"),
                                 m_lost > 0 ? ", " + SecondsText(ToMicroseconds(m_lost, m_timeBase)) : ""));
    return notes;
}

} // namespace Tarsel::Media
