#include "Media/SoundStreams.h"

#include "Media/FFmpegRatio.h"
#include "Media/SoundFormat.h"

#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace Tarsel::Media {

SoundStreamInfo DescribeSound(AVStream const& stream, int number, Conf::SampleInfo const& format,
                              std::string copyObstacle) {
    AVDictionaryEntry const* const language = av_dict_get(stream.metadata, "language", nullptr, 0);
    return {number,
            format,
            FromAV(stream.time_base),
            avcodec_get_name(stream.codecpar->codec_id),
            language != nullptr ? language->value : "",
            std::move(copyObstacle),
            GetDepth(*stream.codecpar)};
}

} // namespace Tarsel::Media
