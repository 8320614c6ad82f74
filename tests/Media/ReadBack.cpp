#include "ReadBack.h"

#include "Conf/FFmpegFormats.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Container/InputStreams.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Audio.h"
#include "Support/Process.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Test {

namespace {

constexpr AVRational s_nanosecond{1, 1000000000};

void Check(int error, char const* what) {
    if (error < 0)
        throw std::runtime_error(what);
}

std::int64_t ToNanoseconds(std::int64_t ticks, AVRational timeBase) {
    return ticks == AV_NOPTS_VALUE ? AV_NOPTS_VALUE : av_rescale_q(ticks, timeBase, s_nanosecond);
}

Metadata ReadMetadata(AVDictionary const* dictionary) {
    Metadata metadata;
    AVDictionaryEntry const* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        metadata[entry->key] = entry->value;
    return metadata;
}

std::string Text(std::span<std::uint8_t const> bytes) {
    return {bytes.begin(), bytes.end()};
}

/// The rows' pixels without padding. FNV-1a.
std::uint64_t Hash(AVFrame const& frame) {
    auto const format = static_cast<AVPixelFormat>(frame.format);
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(av_image_get_buffer_size(format, frame.width, frame.height, 1)));
    av_image_copy_to_buffer(bytes.data(), static_cast<int>(bytes.size()), frame.data, frame.linesize, format,
                            frame.width, frame.height, 1);
    std::uint64_t hash = 14695981039346656037U;
    for (std::uint8_t const byte : bytes)
        hash = (hash ^ byte) * 1099511628211U;
    return hash;
}

double GetBrightness(AVFrame const& frame) {
    int const bytes = av_image_get_linesize(static_cast<AVPixelFormat>(frame.format), frame.width, 0);
    double sum = 0;
    for (int row = 0; row < frame.height; ++row)
        for (int i = 0; i < bytes; ++i)
            sum += frame.data[0][row * frame.linesize[0] + i];
    return sum / bytes / frame.height;
}

StreamRecord Describe(AVStream const& stream) {
    AVCodecParameters const& parameters = *stream.codecpar;
    StreamRecord record;
    char const* const kind = av_get_media_type_string(parameters.codec_type);
    record.kind = kind != nullptr ? kind : "unknown";
    record.codec = avcodec_get_name(parameters.codec_id);
    record.metadata = ReadMetadata(stream.metadata);
    record.disposition = stream.disposition;
    if (parameters.extradata != nullptr)
        record.extradata.assign(parameters.extradata, parameters.extradata + parameters.extradata_size);
    record.hasMatrix = !Media::GetSideData(stream, AV_PKT_DATA_DISPLAYMATRIX).empty();
    return record;
}

void DescribeVideo(AVFrame const& frame, AVRational aspect, MediaRecord& record) {
    record.width = frame.width;
    record.height = frame.height;
    record.format = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame.format));
    record.aspect = std::to_string(aspect.num) + ":" + std::to_string(aspect.den);
    record.color = {frame.colorspace, frame.color_range, frame.color_primaries, frame.color_trc,
                    frame.chroma_location};
    record.brightness = GetBrightness(frame);
    record.fields = Proc::GetFrameFieldOrder(frame);
}

Media::UniqueInput OpenInput(std::filesystem::path const& path) {
    AVFormatContext* opened = nullptr;
    Check(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "cannot be opened");
    Media::UniqueInput context(opened);
    Check(avformat_find_stream_info(context.get(), nullptr), "has no streams");
    return context;
}

Media::UniqueCodecContext OpenDecoder(AVStream const& stream) {
    AVCodec const* const codec = avcodec_find_decoder(stream.codecpar->codec_id);
    Media::UniqueCodecContext decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream.codecpar);
    decoder->pkt_timebase = stream.time_base;
    Check(avcodec_open2(decoder.get(), codec, nullptr), "cannot be decoded");
    return decoder;
}

/// Shows every packet, and the frames of the stream of that index; −1: of none.
template <class OnPacket, class OnFrame>
void ReadThrough(AVFormatContext& context, int index, OnPacket const& onPacket, OnFrame const& onFrame) {
    auto const decoder = index >= 0 ? OpenDecoder(*context.streams[index]) : Media::UniqueCodecContext();
    Media::UniquePacket const packet = Media::MakePacket();
    Proc::SafeFrame frame;
    for (bool isOver = false; !isOver; av_packet_unref(packet.get())) {
        isOver = av_read_frame(&context, packet.get()) < 0;
        if (!isOver)
            onPacket(*packet);
        if (index < 0 || (!isOver && packet->stream_index != index))
            continue;
        avcodec_send_packet(decoder.get(), isOver ? nullptr : packet.get());
        while (avcodec_receive_frame(decoder.get(), frame.Get()) >= 0)
            onFrame(*frame);
    }
}

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

std::vector<StreamRecord> MediaRecord::Of(std::string const& kind) const {
    std::vector<StreamRecord> found;
    std::copy_if(streams.begin(), streams.end(), std::back_inserter(found),
                 [&](StreamRecord const& stream) { return stream.kind == kind; });
    return found;
}

std::vector<std::int64_t> MediaRecord::GetTimes() const {
    std::vector<std::int64_t> times;
    for (PictureRecord const& picture : pictures)
        times.push_back(picture.time);
    return times;
}

std::vector<std::uint64_t> MediaRecord::GetHashes() const {
    std::vector<std::uint64_t> hashes;
    for (PictureRecord const& picture : pictures)
        hashes.push_back(picture.hash);
    return hashes;
}

MediaRecord ReadMedia(std::filesystem::path const& path) {
    Media::UniqueInput const context = OpenInput(path);
    MediaRecord record;
    record.container = context->iformat->name;
    record.metadata = ReadMetadata(context->metadata);
    for (unsigned i = 0; i < context->nb_streams; ++i)
        record.streams.push_back(Describe(*context->streams[i]));
    for (unsigned i = 0; i < context->nb_chapters; ++i) {
        AVChapter const& chapter = *context->chapters[i];
        record.chapters.push_back({ToNanoseconds(chapter.start, chapter.time_base),
                                   ToNanoseconds(chapter.end, chapter.time_base),
                                   ReadMetadata(chapter.metadata)["title"]});
    }

    int const picture = av_find_best_stream(context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    auto const addPacket = [&](AVPacket const& packet) {
        AVRational const timeBase = context->streams[packet.stream_index]->time_base;
        record.streams[static_cast<std::size_t>(packet.stream_index)].packets.push_back(
            {ToNanoseconds(packet.pts, timeBase), ToNanoseconds(packet.dts, timeBase),
             ToNanoseconds(packet.duration, timeBase), packet.flags,
             Text({packet.data, static_cast<std::size_t>(packet.size)})});
    };
    ReadThrough(*context, picture, addPacket, [&](AVFrame& frame) {
        AVStream& stream = *context->streams[picture];
        if (record.pictures.empty()) {
            AVRational const rate = av_guess_frame_rate(context.get(), &stream, nullptr);
            record.rate = std::to_string(rate.num) + "/" + std::to_string(rate.den);
            DescribeVideo(frame, av_guess_sample_aspect_ratio(context.get(), &stream, &frame), record);
        }
        record.pictures.push_back({ToNanoseconds(frame.best_effort_timestamp, stream.time_base),
                                   ToNanoseconds(Proc::GetFrameDuration(frame), stream.time_base),
                                   Hash(frame)});
    });
    return record;
}

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
    ReadThrough(
        *context, stream->index, [](AVPacket const&) {},
        [&](AVFrame const& frame) { Add(frame, stream->time_base, record); });
    return record;
}

std::filesystem::path Make(std::filesystem::path const& file, std::string const& arguments) {
    RunFFmpeg("-y " + arguments, {file});
    return file;
}

} // namespace Tarsel::Test
