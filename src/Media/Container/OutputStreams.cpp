#include "Media/Container/OutputStreams.h"

#include "Core/Throw.h"
#include "Media/Base/FFmpegVersions.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Container/Containers.h"
#include "Media/Container/FileHeader.h"
#include "Media/Container/InputStreams.h"
#include "Media/Container/Languages.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <boost/algorithm/string/predicate.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

/// Which of the input's streams are wanted.
using Selection = std::vector<bool>;

bool HasKey(AVDictionary const* metadata, char const* key) {
    return av_dict_get(metadata, key, nullptr, 0) != nullptr;
}

/// What described the input's own file format.
void RemoveContainerKeys(AVDictionary** metadata) {
    for (char const* key : {"major_brand", "minor_version", "compatible_brands"})
        CheckCopied(av_dict_set(metadata, key, nullptr, 0));
}

/// What described the pictures as they were encoded in the input.
void RemoveEncodingKeys(AVDictionary** metadata) {
    constexpr std::string_view staleKeys[] = {"alpha_mode",  "encoder",         "rotate",
                                              "BPS",         "DURATION",        "NUMBER_OF_BYTES",
                                              "_STATISTICS", "NUMBER_OF_FRAMES"};
    std::vector<std::string> keys;
    AVDictionaryEntry const* entry = nullptr;
    while ((entry = av_dict_get(*metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        if (std::any_of(std::begin(staleKeys), std::end(staleKeys), [&](std::string_view stale) {
                return boost::algorithm::istarts_with(entry->key, stale);
            }))
            keys.emplace_back(entry->key);
    for (std::string const& key : keys)
        CheckCopied(av_dict_set(metadata, key.c_str(), nullptr, 0));
}

/// Light levels of HDR, from the pictures where the input's container had none.
void CopyLightLevels(AVFrame const& frame, AVStream& to) {
    struct {
        AVFrameSideDataType frame;
        AVPacketSideDataType stream;
    } const types[] = {{AV_FRAME_DATA_MASTERING_DISPLAY_METADATA, AV_PKT_DATA_MASTERING_DISPLAY_METADATA},
                       {AV_FRAME_DATA_CONTENT_LIGHT_LEVEL, AV_PKT_DATA_CONTENT_LIGHT_LEVEL}};
    for (auto const& type : types)
        if (AVFrameSideData const* const data = av_frame_get_side_data(&frame, type.frame))
            SetSideData(to, type.stream, {data->data, data->size});
}

/// Side data of the input's picture stream that still hold for the pictures: all but the orientation, which
/// has been dealt with, and what is part of the input's encoding.
void CopyVideoSideData(AVStream const& from, AVStream& to) {
    constexpr AVPacketSideDataType keptTypes[] = {AV_PKT_DATA_STEREO3D, AV_PKT_DATA_SPHERICAL,
                                                  AV_PKT_DATA_MASTERING_DISPLAY_METADATA,
                                                  AV_PKT_DATA_CONTENT_LIGHT_LEVEL};
    for (AVPacketSideDataType const type : keptTypes)
        if (auto const data = GetSideData(from, type); !data.empty())
            SetSideData(to, type, data);
}

/// What every stream keeps that is re-encoded.
void KeepWords(AVStream const& from, AVStream& to) {
    CheckCopied(av_dict_copy(&to.metadata, from.metadata, 0));
    RemoveEncodingKeys(&to.metadata);
    to.disposition = from.disposition;
}

void DescribeAnew(AVStream const& from, StreamEncoder const& encoder, AVStream& to) {
    if (avcodec_parameters_from_context(to.codecpar, encoder.context) < 0)
        ThrowNoMemory("codec parameters");
    CopySideData(*encoder.context, to);
    KeepWords(from, to);
    to.time_base = ToAV(encoder.timeBase);
}

/// Whether the rate is that of all frames: one that was only measured over changing durations would be
/// written as every picture's duration.
bool HasConstantRate(AVStream const& stream) {
    return stream.r_frame_rate.num == 0 ||
           AgreeOnRate(FromAV(stream.avg_frame_rate), FromAV(stream.r_frame_rate));
}

void DescribeEncodedVideo(AVStream const& from, StreamEncoder const& encoder, AVOutputFormat const& format,
                          AVStream& to) {
    AVCodecContext const& context = *encoder.context;
    DescribeAnew(from, encoder, to);
    // QuickTime's players know HEVC under this tag only.
    if (context.codec_id == AV_CODEC_ID_HEVC && GetTraits(format).isMovFamily)
        to.codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    CopyVideoSideData(from, to);
    CopyLightLevels(*encoder.first, to);
    bool const countsFrames =
        (GetTraits(format).countsFrames || !KeepsTimes(format)) && context.framerate.num > 0;
    if (countsFrames)
        to.time_base = av_inv_q(context.framerate);
    to.sample_aspect_ratio = context.sample_aspect_ratio;
    if (HasConstantRate(from) || countsFrames)
        to.avg_frame_rate = context.framerate;
}

/// As the encoder has described it, in a file of the same format.
void DescribeJoinedVideo(AVStream const& from, StreamEncoder const& encoder, AVStream& to) {
    AVStream const& made = *encoder.encoded;
    CheckCopied(avcodec_parameters_copy(to.codecpar, made.codecpar));
    CopySideData(made, to);
    CopyVideoSideData(from, to);
    KeepWords(from, to);
    to.time_base = made.time_base;
    to.sample_aspect_ratio = made.sample_aspect_ratio;
    if (HasConstantRate(from))
        to.avg_frame_rate = ToAV(encoder.encodedRate);
}

/// Matroska keeps covers as attachments; as picture streams they would play.
void TurnCoverIntoAttachment(AVStream& stream, AVPacket const& cover) {
    AVCodecParameters& parameters = *stream.codecpar;
    bool const isPng = parameters.codec_id == AV_CODEC_ID_PNG;
    auto const size = static_cast<std::size_t>(cover.size);
    auto* const data = static_cast<std::uint8_t*>(
        CheckAllocated(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE), "a cover image"));
    std::copy(cover.data, cover.data + size, data);
    av_freep(&parameters.extradata);
    parameters.extradata = data;
    parameters.extradata_size = cover.size;
    parameters.codec_type = AVMEDIA_TYPE_ATTACHMENT;
    if (!HasKey(stream.metadata, "filename"))
        CheckCopied(av_dict_set(&stream.metadata, "filename", isPng ? "cover.png" : "cover.jpg", 0));
    if (!HasKey(stream.metadata, "mimetype"))
        CheckCopied(av_dict_set(&stream.metadata, "mimetype", isPng ? "image/png" : "image/jpeg", 0));
}

/// The codec's tag stays where the container knows it; otherwise the muxer finds its own.
void FitCodecTag(AVOutputFormat const& format, AVCodecParameters& parameters) {
    if (format.codec_tag == nullptr)
        return;
    unsigned tag = 0;
    bool const isKnown = av_codec_get_id(format.codec_tag, parameters.codec_tag) == parameters.codec_id ||
                         av_codec_get_tag2(format.codec_tag, parameters.codec_id, &tag) == 0;
    if (!isKnown)
        parameters.codec_tag = 0;
}

void DescribeCopied(AVStream const& from, AVOutputFormat const& format, AVStream& to) {
    CopyStream(from, to);
    FitCodecTag(format, *to.codecpar);
    bool const isCover = (from.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    bool const isAttached = GetTraits(format).covers == Covers::Attachments;
    if (isCover && from.attached_pic.data != nullptr && isAttached)
        TurnCoverIntoAttachment(to, from.attached_pic);
}

/// Null where the stream is copied.
StreamEncoder const* FindEncoder(StreamEncoders const& encoders, std::size_t stream) noexcept {
    return stream < encoders.size() && encoders[stream].IsEncoded() ? &encoders[stream] : nullptr;
}

/// Containers take more than their makers call finished (TrueHD in MP4): better kept than lost. But raw
/// pictures would get tags by which nobody knows them.
int ChooseCompliance(AVOutputFormat const& format, StreamEncoders const& encoders) {
    bool const isRaw = std::ranges::any_of(encoders, [](StreamEncoder const& encoder) {
        return (encoder.context != nullptr && encoder.context->codec_id == AV_CODEC_ID_RAWVIDEO) ||
               (encoder.encoded != nullptr && encoder.encoded->codecpar->codec_id == AV_CODEC_ID_RAWVIDEO);
    });
    return isRaw && GetTraits(format).knowsRawByTag ? FF_COMPLIANCE_NORMAL : FF_COMPLIANCE_EXPERIMENTAL;
}

void FitLanguage(AVStream& stream) {
    if (AVDictionaryEntry const* const language = av_dict_get(stream.metadata, "language", nullptr, 0))
        CheckCopied(av_dict_set(&stream.metadata, "language",
                                std::string(GetQuickTimeLanguage(language->value)).c_str(), 0));
}

/// What is wanted.
struct OutputRequest {
    Container const& container;
    AVOutputFormat const& format;
    InputStreams const& input;
    StreamEncoders const& encoders;
};

OutputStreams Build(OutputRequest const& request, Selection const& selection) {
    auto const& [container, format, input, encoders] = request;
    AVFormatContext const& from = *input.context;
    OutputStreams result;
    AVFormatContext* context = nullptr;
    avformat_alloc_output_context2(&context, &format, nullptr, container.file.c_str());
    result.context.reset(CheckAllocated(context, "AVFormatContext"));
    context->strict_std_compliance = ChooseCompliance(format, encoders);
    CheckCopied(av_dict_copy(&context->metadata, from.metadata, 0));
    RemoveContainerKeys(&context->metadata);
    result.indexes.assign(from.nb_streams, -1);
    bool const keepsIds = GetTraits(format).hasStreamIds && input.container == format.name;
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        if (!selection[i])
            continue;
        AVStream const& source = *from.streams[i];
        AVStream& stream = *CheckAllocated(avformat_new_stream(context, nullptr), "AVStream");
        result.indexes[i] = stream.index;
        StreamEncoder const* const encoder = FindEncoder(encoders, i);
        if (encoder == nullptr)
            DescribeCopied(source, format, stream);
        else if (encoder->encoded != nullptr)
            DescribeJoinedVideo(source, *encoder, stream);
        else if (encoder->first != nullptr)
            DescribeEncodedVideo(source, *encoder, format, stream);
        else
            DescribeAnew(source, *encoder, stream);
        // A hint, in the unit that writers of audio have: CAF reckons the length of packets from it.
        int const rate = stream.codecpar->sample_rate;
        stream.duration = source.duration > 0 && rate > 0
                              ? av_rescale_q(source.duration, source.time_base, {1, rate})
                              : AV_NOPTS_VALUE;
        if (GetTraits(format).numbersLanguages)
            FitLanguage(stream);
        stream.id = keepsIds ? source.id : 0;
    }
    CopyChapters(from, *context);
    CopyPrograms(from, result.indexes, *context);
    return result;
}

/// Whether the muxer takes these streams together.
int TryStreams(OutputRequest const& request, Selection const& selection) {
    return TryHeader(*Build(request, selection).context, request.container.isPiped);
}

/// Streams that are no streams of their own: QuickTime's chapters and time code, which the muxer makes again.
bool IsMadeAnew(AVFormatContext const& input, AVStream const& stream, AVOutputFormat const& format) {
    if (stream.discard == AVDISCARD_ALL)
        return true;
    bool const isTimeCode = stream.codecpar->codec_tag == MKTAG('t', 'm', 'c', 'd');
    bool const isKnown =
        HasKey(input.metadata, "timecode") ||
        std::any_of(input.streams, input.streams + input.nb_streams, [](AVStream const* other) {
            return other->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && HasKey(other->metadata, "timecode");
        });
    return isTimeCode && isKnown && GetTraits(format).isMovFamily;
}

bool MayBeTaken(AVStream const& stream, AVOutputFormat const& format) {
    AVCodecParameters const& parameters = *stream.codecpar;
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return GetTraits(format).covers != Covers::None;
    // Attachments are files of any kind.
    if (parameters.codec_type == AVMEDIA_TYPE_ATTACHMENT)
        return GetTraits(format).hasAttachments;
    return parameters.codec_type != AVMEDIA_TYPE_UNKNOWN && parameters.codec_id != AV_CODEC_ID_NONE &&
           IsKnownIn(format, parameters.codec_id) &&
           avformat_query_codec(&format, parameters.codec_id, FF_COMPLIANCE_EXPERIMENTAL) != 0;
}

std::string LeftOutText(AVStream const& stream, AVFormatContext const& to) {
    AVCodecParameters const& parameters = *stream.codecpar;
    char const* const kind = av_get_media_type_string(parameters.codec_type);
    std::string const codec = parameters.codec_id != AV_CODEC_ID_NONE
                                  ? fmt::format(", {}", avcodec_get_name(parameters.codec_id))
                                  : "";
    return fmt::format("Left out stream {} ({}{}): {} cannot hold it.", stream.index,
                       kind != nullptr ? kind : "unknown", codec, GetFileKind(to));
}

/// The stream without which there is no file: the pictures, else the best audio.
std::size_t FindMain(InputStreams const& input, Selection const& wanted) {
    if (input.video >= 0)
        return static_cast<std::size_t>(input.video);
    if (input.audio >= 0 && wanted[static_cast<std::size_t>(input.audio)])
        return static_cast<std::size_t>(input.audio);
    for (unsigned i = 0; i < input.context->nb_streams; ++i)
        if (wanted[i] && input.context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            return i;
    return wanted.size();
}

/// All streams where the muxer takes them together, else each that it takes with those before. Some want
/// another stream beside the picture (MP3 its audio), so only the end tells whether the picture can be had.
Selection Select(OutputRequest const& request) {
    auto const& [container, format, input, encoders] = request;
    AVFormatContext const& from = *input.context;
    Selection wanted(from.nb_streams);
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        AVStream const& stream = *from.streams[i];
        wanted[i] = static_cast<int>(i) == input.video || FindEncoder(encoders, i) != nullptr ||
                    (!IsMadeAnew(from, stream, format) && MayBeTaken(stream, format));
    }
    std::size_t const main = FindMain(input, wanted);
    int error = main < wanted.size() ? TryStreams(request, wanted) : AVERROR(EINVAL);
    if (error >= 0)
        return wanted;

    Selection selection(from.nb_streams);
    if (main < wanted.size()) {
        selection[main] = true;
        error = TryStreams(request, selection);
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (!wanted[i] || selection[i])
                continue;
            selection[i] = true;
            if (TryStreams(request, selection) >= 0)
                error = 0;
            else
                selection[i] = false;
        }
    }
    if (error < 0)
        Core::Throw<OutputException>(fmt::format("{} cannot hold the {}: {}", container.name,
                                                 input.video >= 0 ? "video" : "audio",
                                                 Proc::GetFFmpegErrorText(error)),
                                     Proc::TagFFmpegError(error));
    return selection;
}

/// What the input says that the container has no place for.
std::vector<std::string> DescribeLostWords(AVFormatContext const& from, AVFormatContext const& to) {
    std::vector<std::string> notes;
    ContainerTraits const& traits = GetTraits(*to.oformat);
    bool const keepsChapters =
        !traits.losesChapters &&
        (traits.chapterCodec == 0 ||
         std::any_of(to.streams, to.streams + to.nb_streams, [&](AVStream const* stream) {
             return static_cast<int>(stream->codecpar->codec_id) == traits.chapterCodec;
         }));
    if (!keepsChapters && from.nb_chapters > 0)
        notes.push_back(fmt::format("Left out the chapters: {} has no place for them.", GetFileKind(to)));
    return notes;
}

} // namespace

OutputStreams MakeOutputStreams(Container const& container, InputStreams const& input,
                                StreamEncoders const& encoders) {
    AVOutputFormat const& format = *container.format;
    OutputRequest const request{container, format, input, encoders};
    AVFormatContext const& from = *input.context;
    Selection const selection = Select(request);
    OutputStreams result = Build(request, selection);
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        bool const isTold = !selection[i] && !IsMadeAnew(from, *from.streams[i], format);
        result.streamNotes.push_back(isTold ? LeftOutText(*from.streams[i], *result.context) : std::string());
    }
    result.notes = DescribeLostWords(from, *result.context);
    return result;
}

} // namespace Tarsel::Media
