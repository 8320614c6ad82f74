#include "Media/Container/InputStreams.h"

#include "Media/Base/FFmpegVersions.h"
#include "Media/Container/Containers.h"
#include "Media/Container/Demuxer.h"
#include "Media/Container/StreamSelector.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

bool HasTag(AVStream const& stream, AVDictionaryEntry const& tag) {
    AVDictionaryEntry const* const same = av_dict_get(stream.metadata, tag.key, nullptr, 0);
    return same != nullptr && std::string_view(same->value) == tag.value;
}

/// What all streams say is said of the file, but for what describes the stream by its nature.
void MoveTagsToFile(AVFormatContext& context) {
    std::vector<AVStream*> streams(context.streams, context.streams + context.nb_streams);
    std::erase_if(streams, [](AVStream const* stream) {
        return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    });
    if (streams.empty())
        return;
    std::vector<std::string> keys;
    AVDictionaryEntry const* tag = nullptr;
    while ((tag = av_dict_get(streams.front()->metadata, "", tag, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        std::string_view const key = tag->key;
        bool const isOfAll =
            std::ranges::all_of(streams, [&](AVStream const* stream) { return HasTag(*stream, *tag); });
        if (key == "language" || key == "encoder" || !isOfAll)
            continue;
        CheckCopied(av_dict_set(&context.metadata, tag->key, tag->value, AV_DICT_DONT_OVERWRITE));
        keys.emplace_back(key);
    }
    for (std::string const& key : keys)
        for (AVStream* const stream : streams)
            CheckCopied(av_dict_set(&stream->metadata, key.c_str(), nullptr, 0));
}

} // namespace

void CopyStream(AVStream const& from, AVStream& to) {
    CheckCopied(avcodec_parameters_copy(to.codecpar, from.codecpar));
    CopySideData(from, to);
    CheckCopied(av_dict_copy(&to.metadata, from.metadata, 0));
    to.id = from.id;
    to.time_base = from.time_base;
    to.duration = from.duration;
    to.sample_aspect_ratio = from.sample_aspect_ratio;
    to.avg_frame_rate = from.avg_frame_rate;
    to.r_frame_rate = from.r_frame_rate;
    to.disposition = from.disposition;
    to.discard = from.discard;
    if (from.attached_pic.data != nullptr)
        CheckCopied(av_packet_ref(&to.attached_pic, &from.attached_pic));
}

void CopyChapters(AVFormatContext const& from, AVFormatContext& to) {
    if (from.nb_chapters == 0)
        return;
    to.chapters =
        static_cast<AVChapter**>(CheckAllocated(av_calloc(from.nb_chapters, sizeof(AVChapter*)), "chapters"));
    for (unsigned i = 0; i < from.nb_chapters; ++i) {
        AVChapter const& source = *from.chapters[i];
        auto* const chapter =
            static_cast<AVChapter*>(CheckAllocated(av_mallocz(sizeof(AVChapter)), "AVChapter"));
        to.chapters[to.nb_chapters++] = chapter;
        chapter->id = source.id;
        chapter->time_base = source.time_base;
        chapter->start = source.start;
        chapter->end = source.end;
        CheckCopied(av_dict_copy(&chapter->metadata, source.metadata, 0));
    }
}

void CopyPrograms(AVFormatContext const& from, std::vector<int> const& indexes, AVFormatContext& to) {
    for (unsigned i = 0; i < from.nb_programs; ++i) {
        AVProgram const& source = *from.programs[i];
        AVProgram* const program = CheckAllocated(av_new_program(&to, source.id), "AVProgram");
        CheckCopied(av_dict_copy(&program->metadata, source.metadata, 0));
        for (unsigned k = 0; k < source.nb_stream_indexes; ++k)
            if (int const index = indexes[source.stream_index[k]]; index >= 0)
                av_program_add_stream_index(&to, source.id, static_cast<unsigned>(index));
    }
}

InputStreams MakeUnknownInput(StreamKind kind) {
    InputStreams input;
    input.context.reset(CheckAllocated(avformat_alloc_context(), "AVFormatContext"));
    AVStream& stream = *CheckAllocated(avformat_new_stream(input.context.get(), nullptr), "AVStream");
    bool const isAudio = kind == StreamKind::Audio;
    stream.codecpar->codec_type = isAudio ? AVMEDIA_TYPE_AUDIO : AVMEDIA_TYPE_VIDEO;
    (isAudio ? input.audio : input.video) = stream.index;
    return input;
}

InputStreams DescribeStreams(Demuxer const& input, Span const& span, StreamSelection const& selection) {
    AVFormatContext const& from = input.GetContext();
    InputStreams result;
    result.context.reset(CheckAllocated(avformat_alloc_context(), "AVFormatContext"));
    result.video = input.GetVideoIndex();
    result.audio = input.GetAudioIndex();
    result.container = from.iformat->name;
    result.hasTimes = input.HasTimes();
    CheckCopied(av_dict_copy(&result.context->metadata, from.metadata, 0));
    std::vector<bool> const wanted = SelectStreams(selection, input);
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        AVStream& stream = *CheckAllocated(avformat_new_stream(result.context.get(), nullptr), "AVStream");
        CopyStream(*from.streams[i], stream);
        if (!wanted[i])
            stream.discard = AVDISCARD_ALL;
    }
    if (GetTraits(*from.iformat).tagsStreams)
        MoveTagsToFile(*result.context);
    CopyChapters(from, *result.context);
    std::vector<int> all(from.nb_streams);
    std::iota(all.begin(), all.end(), 0);
    CopyPrograms(from, all, *result.context);
    result.span = span;
    if (!span.IsWhole())
        CutDescription(*result.context, span);
    return result;
}

} // namespace Tarsel::Media
