#include "ReadAudio.h"

#include "Conf/FFmpegFormats.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "ReadBack.h"
#include "Support/Audio.h"

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

void Add(AVFrame const& frame, AVRational timeBase, AudioRecord& record) {
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
            record.samples.push_back(GetNumber(frame, channel, i));
}

} // namespace

double AudioRecord::GetMiddle() const {
    double energy = 0;
    double moment = 0;
    for (std::size_t i = 0; i < samples.size(); i += static_cast<std::size_t>(channels)) {
        double const power = samples[i] * samples[i];
        energy += power;
        moment += power * static_cast<double>(i);
    }
    return start + moment / energy / channels / rate;
}

AudioRecord ReadAudio(std::filesystem::path const& path, int number) {
    Media::UniqueInput const context = OpenInput(path);
    AVStream const* stream = nullptr;
    for (unsigned i = 0; i < context->nb_streams; ++i)
        if (context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && number-- == 0)
            stream = context->streams[i];
    if (stream == nullptr)
        throw std::runtime_error("has no such stream");

    AudioRecord record;
    record.codec = avcodec_get_name(stream->codecpar->codec_id);
    Media::UniqueCodecContext const decoder = OpenDecoder(*stream);
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
