#include "ReadBack.h"

#include "Media/Base/FFmpegVersions.h"
#include "Media/Container/InputStreams.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Process.h"

#include <algorithm>
#include <array>
#include <span>
#include <sstream>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/mastering_display_metadata.h>
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

template <class Struct>
Struct const* GetAs(AVStream const& stream, AVPacketSideDataType type) {
    auto const data = Media::GetSideData(stream, type);
    return data.size() >= sizeof(Struct) ? reinterpret_cast<Struct const*>(data.data()) : nullptr;
}

std::string DescribeLight(AVMasteringDisplayMetadata const* display, AVContentLightMetadata const* light) {
    std::ostringstream text;
    text.precision(4);
    if (display != nullptr)
        text << "max " << av_q2d(display->max_luminance) << " white " << av_q2d(display->white_point[0])
             << ' ';
    if (light != nullptr)
        text << "cll " << light->MaxCLL << ' ' << light->MaxFALL;
    return text.str();
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
    record.lightLevels =
        DescribeLight(GetAs<AVMasteringDisplayMetadata>(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA),
                      GetAs<AVContentLightMetadata>(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL));
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

/// Decodes what the packet gives; null: what is left.
void Decode(AVCodecContext& decoder, AVPacket const* packet, AVFormatContext& context, AVStream& stream,
            MediaRecord& record) {
    avcodec_send_packet(&decoder, packet);
    Proc::SafeFrame frame;
    while (avcodec_receive_frame(&decoder, frame.Get()) >= 0) {
        if (record.pictures.empty()) {
            AVRational const rate = av_guess_frame_rate(&context, &stream, nullptr);
            record.rate = std::to_string(rate.num) + "/" + std::to_string(rate.den);
            DescribeVideo(*frame, av_guess_sample_aspect_ratio(&context, &stream, frame.Get()), record);
        }
        record.pictures.push_back({ToNanoseconds(frame->best_effort_timestamp, stream.time_base),
                                   ToNanoseconds(Proc::GetFrameDuration(*frame), stream.time_base),
                                   Hash(*frame)});
    }
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
    Media::UniqueCodecContext const decoder =
        picture >= 0 ? OpenDecoder(*context->streams[picture]) : Media::UniqueCodecContext();
    Media::UniquePacket const packet = Media::MakePacket();
    while (av_read_frame(context.get(), packet.get()) >= 0) {
        AVRational const timeBase = context->streams[packet->stream_index]->time_base;
        record.streams[static_cast<std::size_t>(packet->stream_index)].packets.push_back(
            {ToNanoseconds(packet->pts, timeBase), ToNanoseconds(packet->dts, timeBase),
             ToNanoseconds(packet->duration, timeBase), packet->flags,
             Text({packet->data, static_cast<std::size_t>(packet->size)})});
        if (packet->stream_index == picture)
            Decode(*decoder, packet.get(), *context, *context->streams[picture], record);
        av_packet_unref(packet.get());
    }
    if (picture >= 0)
        Decode(*decoder, nullptr, *context, *context->streams[picture], record);
    return record;
}

std::filesystem::path Make(std::filesystem::path const& file, std::string const& arguments) {
    RunFFmpeg("-y " + arguments, {file});
    return file;
}

std::filesystem::path Remux(std::filesystem::path const& from, std::filesystem::path const& to,
                            std::function<void(AVFormatContext&)> const& edit) {
    Media::UniqueInput const input = OpenInput(from);
    AVFormatContext* made = nullptr;
    avformat_alloc_output_context2(&made, nullptr, nullptr, to.c_str());
    Media::UniqueFormat const output(made);
    AVIOContext* io = nullptr;
    Check(avio_open(&io, to.c_str(), AVIO_FLAG_WRITE), "cannot be written");
    Media::UniqueFile const file(io);
    output->pb = io;
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        if (input->streams[i]->discard == AVDISCARD_ALL)
            break; // the chapters' track, the last one, is made anew
        Media::CopyStream(*input->streams[i], *avformat_new_stream(made, nullptr));
        made->streams[i]->codecpar->codec_tag = 0;
    }
    Media::CopyChapters(*input, *made);
    av_dict_copy(&made->metadata, input->metadata, 0);
    edit(*made);
    Check(avformat_write_header(made, nullptr), "takes no such streams");
    Media::UniquePacket const packet = Media::MakePacket();
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        auto const index = static_cast<unsigned>(packet->stream_index);
        av_packet_rescale_ts(packet.get(), input->streams[index]->time_base, made->streams[index]->time_base);
        Check(av_interleaved_write_frame(made, packet.get()), "takes no such packet");
    }
    Check(av_write_trailer(made), "cannot be finished");
    return to;
}

void TagAsTurned(AVFormatContext& context) {
    std::array<std::int32_t, 9> words{};
    av_display_rotation_set(words.data(), 90);
    auto const* const bytes = reinterpret_cast<std::uint8_t const*>(words.data());
    Media::SetSideData(*context.streams[0], AV_PKT_DATA_DISPLAYMATRIX, {bytes, sizeof(words)});
}

} // namespace Tarsel::Test
