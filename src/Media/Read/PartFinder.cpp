#include "Media/Read/PartFinder.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/VideoSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

namespace Tarsel::Media {

namespace {

/// Where parts can begin.
class KeyFrames {
public:
    explicit KeyFrames(Demuxer const& input)
        : m_input(input), m_file(input.Reopen()), m_start(input.GetStart()), m_duration(input.GetDuration()),
          m_first(NextKeyFrame()) {}

    /// Where the part after that number of parts begins, in microseconds.
    std::int64_t FindCut(int number, int count);

private:
    std::optional<std::int64_t> NextKeyFrame();
    std::int64_t FindAt(std::int64_t time);
    void ReadAll();

    Demuxer const& m_input;
    std::unique_ptr<Demuxer> m_file;
    std::int64_t m_start;
    std::int64_t m_duration;
    /// Of every packet of the video that was read.
    std::int64_t m_last = INT64_MIN;
    std::optional<std::int64_t> m_first;
    /// All of them, sorted, once the whole file had to be read.
    std::optional<std::vector<std::int64_t>> m_all;
};

/// The next one in the file; nothing at its end.
std::optional<std::int64_t> KeyFrames::NextKeyFrame() {
    UniquePacket const packet = MakePacket();
    for (; m_file->Read(*packet); av_packet_unref(packet.get())) {
        std::int64_t const ticks = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        if (packet->stream_index != m_file->GetVideoIndex() || ticks == AV_NOPTS_VALUE)
            continue;
        std::int64_t const time = ToMicroseconds(ticks, FromAV(m_file->GetVideo().time_base));
        m_last = std::max(m_last, time);
        if ((packet->flags & AV_PKT_FLAG_KEY) != 0)
            return time;
    }
    return std::nullopt;
}

void KeyFrames::ReadAll() {
    m_file = m_input.Reopen();
    m_all.emplace();
    while (auto const time = NextKeyFrame())
        m_all->push_back(*time);
    std::ranges::sort(*m_all);
    if (m_duration <= 0)
        m_duration = std::max<std::int64_t>(m_last - m_start, 0);
}

/// The last one by then.
std::int64_t KeyFrames::FindAt(std::int64_t time) {
    if (!m_all && m_file->Seek(time))
        if (auto const found = NextKeyFrame())
            return *found;
    if (!m_all)
        ReadAll();
    auto const behind = std::ranges::upper_bound(*m_all, time);
    return behind == m_all->begin() ? INT64_MIN : *(behind - 1);
}

std::int64_t KeyFrames::FindCut(int number, int count) {
    if (number == 0 || !m_first)
        return INT64_MIN;
    if (number == count)
        return INT64_MAX;
    if (!m_all && (m_duration <= 0 || !m_input.SeeksExactly()))
        ReadAll();
    std::int64_t const cut = FindAt(m_start + av_rescale(m_duration, number, count));
    // Frames that are shown before the first key frame belong to it.
    return cut <= *m_first ? INT64_MIN : cut;
}

/// Where that many frames before the time begin.
std::int64_t FindBegin(Demuxer const& input, std::int64_t time, std::int64_t frames,
                       std::stop_token const& stop) {
    if (frames == 0 || time == INT64_MIN)
        return time;
    AVRational const rate = ToAV(input.GetFrameRate());
    constexpr std::int64_t second = 1000000;
    std::int64_t const usual = rate.num > 0 ? av_rescale(second, rate.den, rate.num) : second;
    for (std::int64_t reach = usual * (frames + 1);; reach *= 4) {
        if (reach > time - input.GetStart())
            return INT64_MIN;
        VideoSource source(input.Reopen(), stop, {time - reach, time, true});
        std::vector<std::int64_t> times;
        while (auto const frame = source.Next())
            times.push_back(frame->data->GetTime());
        if (auto const count = static_cast<std::size_t>(frames); times.size() >= count)
            return times[times.size() - count];
    }
}

/// Where that many frames from the time on end.
std::int64_t FindEnd(Demuxer const& input, std::int64_t time, std::int64_t frames,
                     std::stop_token const& stop) {
    if (frames == 0 || time == INT64_MAX)
        return time;
    VideoSource source(input.Reopen(), stop, {time, INT64_MAX, true});
    for (std::int64_t i = 0; i < frames; ++i)
        (void)source.Next();
    auto const behind = source.Next();
    return behind ? behind->data->GetTime() : INT64_MAX;
}

} // namespace

PartSpan FindPart(Part const& part, Demuxer const& input, std::stop_token stop) {
    auto const refuse = [&](char const* what) {
        Core::Throw<OptionsException>(fmt::format("{} {}", Quote(input.GetPath()), what),
                                      TagSurplusOption("part"));
    };
    if (!input.HasVideo() || input.IsCover())
        refuse("has no video");
    if (input.IsStill())
        refuse("is an image");
    KeyFrames keyFrames(input);
    PartSpan span;
    span.written = {keyFrames.FindCut(part.number - 1, part.count),
                    keyFrames.FindCut(part.number, part.count), true};
    span.read = span.written;
    if (span.IsEmpty()) {
        span.read = {INT64_MIN, INT64_MAX, true}; // for whoever plans it like the others
        return span;
    }
    span.read.from = FindBegin(input, span.written.from, part.framesBefore, stop);
    span.read.to = FindEnd(input, span.written.to, part.framesAfter, stop);
    return span;
}

} // namespace Tarsel::Media
