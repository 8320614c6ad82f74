#include "Media/SoundDecoder.h"

#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Media/FFmpegRatio.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Media/SoundFormat.h"
#include "Media/TimeMap.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Media {

namespace {

/// A decoder that keeps failing without taking anything in is left alone after this many errors.
constexpr int s_mostErrorsInARow = 1000;

[[noreturn]] void ThrowUndecodable(AVStream const& stream, std::string const& reason, int error) {
    Core::Throw<InputException>(
        {"Media/SoundDecoder", "Tarsel::Media::SoundDecoder::SoundDecoder(const AVStream &)"},
        fmt::format("Cannot decode the sound of stream {}, which is in the codec {}: {}", stream.index,
                    avcodec_get_name(stream.codecpar->codec_id), reason),
        Proc::TagFFmpegError(error));
}

} // namespace

SoundDecoder::SoundDecoder(AVStream const& stream) : m_timeBase(FromAV(stream.time_base)) {
    AVCodec const* const decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (decoder == nullptr)
        ThrowUndecodable(stream, "there is no decoder for it here", AVERROR_DECODER_NOT_FOUND);
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
        format.format = Conf::SampleFormatTarselFromFFMPEG(m_context->sample_fmt);
    if (!IsComplete(format))
        ThrowUndecodable(stream, "its format, rate or channels are not known", AVERROR_INVALIDDATA);
    m_line.emplace(format);
}

SoundDecoder::~SoundDecoder() = default;

void SoundDecoder::Send(AVPacket const* packet) {
    CountDamage(avcodec_send_packet(m_context.get(), packet));
}

SP<Proc::IDataAudio> SoundDecoder::Receive() {
    for (;;) {
        if (auto block = m_line->Take()) {
            Ratio const sample{1, GetFormat().rate};
            std::int64_t const start = block->Get()->pts;
            std::int64_t const end = start + block->Get()->nb_samples;
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
bool SoundDecoder::Decode() {
    AVFrame& frame = *m_frame;
    int error = avcodec_receive_frame(m_context.get(), &frame);
    for (int failures = 0; error < 0 && failures < s_mostErrorsInARow && CountDamage(error); ++failures)
        error = avcodec_receive_frame(m_context.get(), &frame);
    if (error >= 0) {
        m_line->Feed(frame, frame.best_effort_timestamp, m_timeBase);
        av_frame_unref(&frame);
        return true;
    }
    if (error == AVERROR_EOF && !std::exchange(m_ended, true)) {
        m_line->End();
        return true;
    }
    return false;
}

/// Whether the error is damage, after which decoding may go on.
bool SoundDecoder::CountDamage(int error) {
    if (error >= 0 || error == AVERROR(EAGAIN) || error == AVERROR_EOF)
        return false;
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory("decoded sound");
    ++m_damaged;
    return true;
}

std::vector<std::string> SoundDecoder::GetNotes() const {
    std::vector<std::string> notes = m_line->GetNotes();
    if (m_damaged > 0)
        notes.insert(notes.begin(), CountText(m_damaged, "damaged sound packet") + " skipped.");
    return notes;
}

} // namespace Tarsel::Media
