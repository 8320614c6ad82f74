#include "Media/Range/Span.h"

#include "Media/Base/Times.h"

#include <algorithm>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Media {

namespace {

void Free(AVChapter* chapter) noexcept {
    av_dict_free(&chapter->metadata);
    av_free(chapter);
}

void CutChapters(AVFormatContext& file, Span const& span) {
    unsigned kept = 0;
    for (unsigned i = 0; i < file.nb_chapters; ++i) {
        AVChapter* const chapter = file.chapters[i];
        Ratio const timeBase = FromAV(chapter->time_base);
        Ticks const part = Cut(span, {chapter->start, chapter->end}, timeBase);
        if (part.end <= part.start) {
            Free(chapter);
            continue;
        }
        std::int64_t const origin = ToTicks(span.GetOrigin(), timeBase);
        chapter->start = part.start - origin;
        chapter->end = part.end - origin;
        file.chapters[kept++] = chapter;
    }
    file.nb_chapters = kept;
    if (kept == 0)
        av_freep(&file.chapters);
}

} // namespace

Ticks Cut(Span const& span, Ticks const& all, Ratio timeBase) noexcept {
    std::int64_t const from = span.from == INT64_MIN ? INT64_MIN : ToTicks(span.from, timeBase);
    std::int64_t const to = span.to == INT64_MAX ? INT64_MAX : ToTicks(span.to, timeBase);
    std::int64_t const start = std::max(all.start, from);
    return {start, std::max(start, std::min(all.end, to))};
}

void CutDescription(AVFormatContext& file, Span const& span) {
    CutChapters(file, span);
    for (unsigned i = 0; i < file.nb_streams; ++i) {
        AVStream& stream = *file.streams[i];
        if (stream.duration <= 0)
            continue;
        std::int64_t const start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
        Ticks const part = Cut(span, {start, av_sat_add64(start, stream.duration)}, FromAV(stream.time_base));
        stream.duration = part.end - part.start;
    }
}

} // namespace Tarsel::Media
