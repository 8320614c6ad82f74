#include "ReadSound.h"

#include "Conf/FFmpegFormats.h"
#include "Media/FFmpegOwners.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Test {

namespace {

void Check(int error, char const* what) {
    if (error < 0)
        throw std::runtime_error(what);
}

double GetSample(AVFrame const& frame, int channel, int index) {
    auto const format = static_cast<AVSampleFormat>(frame.format);
    bool const isPlanar = av_sample_fmt_is_planar(format) != 0;
    std::uint8_t const* const data = frame.extended_data[isPlanar ? channel : 0];
    int const at = isPlanar ? index : index * frame.ch_layout.nb_channels + channel;
    AVSampleFormat const packed = av_get_packed_sample_fmt(format);
    if (packed == AV_SAMPLE_FMT_U8)
        return data[at];
    if (packed == AV_SAMPLE_FMT_S16)
        return reinterpret_cast<std::int16_t const*>(data)[at];
    if (packed == AV_SAMPLE_FMT_S32)
        return reinterpret_cast<std::int32_t const*>(data)[at];
    if (packed == AV_SAMPLE_FMT_FLT)
        return static_cast<double>(reinterpret_cast<float const*>(data)[at]);
    return reinterpret_cast<double const*>(data)[at];
}

void Add(AVFrame const& frame, AVRational timeBase, SoundRecord& record) {
    double const time = static_cast<double>(frame.best_effort_timestamp) * av_q2d(timeBase);
    if (record.samples.empty()) {
        record.start = time;
        record.rate = frame.sample_rate;
        record.channels = frame.ch_layout.nb_channels;
        record.format = av_get_sample_fmt_name(static_cast<AVSampleFormat>(frame.format));
        record.layout = Conf::TarselFromAVChannelLayout(frame.ch_layout).GetName();
    } else if (frame.best_effort_timestamp != AV_NOPTS_VALUE &&
               std::abs(time - record.start - record.GetDuration()) > 0.003) {
        throw std::runtime_error("has a gap");
    }
    for (int i = 0; i < frame.nb_samples; ++i)
        for (int channel = 0; channel < record.channels; ++channel)
            record.samples.push_back(GetSample(frame, channel, i));
}

} // namespace

double SoundRecord::GetMiddle() const {
    double energy = 0;
    double moment = 0;
    for (std::size_t i = 0; i < samples.size(); i += static_cast<std::size_t>(channels)) {
        double const power = samples[i] * samples[i];
        energy += power;
        moment += power * static_cast<double>(i);
    }
    return start + moment / energy / channels / rate;
}

SoundRecord ReadSound(std::filesystem::path const& path, int number) {
    AVFormatContext* opened = nullptr;
    Check(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "cannot be opened");
    Media::UniqueInput const context(opened);
    Check(avformat_find_stream_info(context.get(), nullptr), "has no streams");
    AVStream const* stream = nullptr;
    for (unsigned i = 0; i < context->nb_streams; ++i)
        if (context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && number-- == 0)
            stream = context->streams[i];
    Check(stream != nullptr ? 0 : -1, "has no such stream");

    SoundRecord record;
    record.codec = avcodec_get_name(stream->codecpar->codec_id);
    AVCodec const* const codec = avcodec_find_decoder(stream->codecpar->codec_id);
    Media::UniqueCodecContext const decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream->codecpar);
    decoder->pkt_timebase = stream->time_base;
    Check(avcodec_open2(decoder.get(), codec, nullptr), "cannot be decoded");
    Media::UniquePacket const packet = Media::MakePacket();
    Proc::SafeFrame frame;
    bool isOver = false;
    while (!isOver) {
        isOver = av_read_frame(context.get(), packet.get()) < 0;
        if (!isOver && packet->stream_index != stream->index) {
            av_packet_unref(packet.get());
            continue;
        }
        avcodec_send_packet(decoder.get(), isOver ? nullptr : packet.get());
        while (avcodec_receive_frame(decoder.get(), frame.Get()) >= 0)
            Add(*frame, stream->time_base, record);
        av_packet_unref(packet.get());
    }
    return record;
}

} // namespace Tarsel::Test
