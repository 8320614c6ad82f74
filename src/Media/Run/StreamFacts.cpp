#include "Media/Run/StreamFacts.h"

#include "Media/Codec/AudioFormat.h"
#include "Media/Container/InputStreams.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <map>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

StreamKind FindKind(AVStream const& stream) noexcept {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return StreamKind::Cover;
    constexpr std::pair<AVMediaType, StreamKind> kinds[] = {
        {AVMEDIA_TYPE_VIDEO, StreamKind::Video},
        {AVMEDIA_TYPE_AUDIO, StreamKind::Audio},
        {AVMEDIA_TYPE_SUBTITLE, StreamKind::Subtitles},
        {AVMEDIA_TYPE_ATTACHMENT, StreamKind::Attachment}};
    for (auto const& [type, kind] : kinds)
        if (type == stream.codecpar->codec_type)
            return kind;
    return StreamKind::Data;
}

std::string DescribeFormat(AVCodecParameters const& parameters) {
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO)
        return Proc::AudioText(GetSampleInfo(parameters));
    return parameters.codec_type == AVMEDIA_TYPE_VIDEO
               ? fmt::format("{}x{} {}", parameters.width, parameters.height,
                             Proc::PixelFormatText(parameters.format))
               : std::string();
}

} // namespace

RunPlan DescribeInput(InputStreams const& input) {
    RunPlan plan;
    plan.inputContainer = input.container;
    std::map<StreamKind, int> counts;
    for (unsigned i = 0; i < input.context->nb_streams; ++i) {
        AVStream const& stream = *input.context->streams[i];
        AVCodecParameters const& parameters = *stream.codecpar;
        AVDictionaryEntry const* const language = av_dict_get(stream.metadata, "language", nullptr, 0);
        StreamPlan& described = plan.streams.emplace_back();
        described.kind = FindKind(stream);
        described.number = counts[described.kind]++;
        if (parameters.codec_id != AV_CODEC_ID_NONE)
            described.codec = avcodec_get_name(parameters.codec_id);
        described.language = language != nullptr ? language->value : "";
        described.inputFormat = DescribeFormat(parameters);
        described.reason = stream.discard == AVDISCARD_ALL ? "it was not chosen" : "";
    }
    return plan;
}

} // namespace Tarsel::Media
