#include "Media/Read/SpanFinder.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/FrameCounter.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

using Unit = MediaTime::Unit;

[[noreturn]] void Refuse(std::string const& description) {
    Core::Throw<OptionsException>(description);
}

bool CountsFrames(std::optional<MediaTime> const& time) noexcept {
    return time && time->unit == Unit::Frames;
}

bool CountsFrames(TimeRange const& range) noexcept {
    return CountsFrames(range.from) || CountsFrames(range.to) || CountsFrames(range.duration);
}

/// The range with frames counted.
class Finder {
public:
    Finder(TimeRange const& range, Demuxer const& input, std::stop_token stop)
        : m_range(range), m_input(input) {
        if (CountsFrames(range))
            m_frames.emplace(input, std::move(stop));
    }

    Span Find();

private:
    std::int64_t Find(MediaTime place);
    std::int64_t FindEndOf(MediaTime duration, Span const& span);
    void RefuseBeyond(std::int64_t number) const;

    TimeRange const& m_range;
    Demuxer const& m_input;
    std::optional<FrameCounter> m_frames;
};

Span Finder::Find() {
    Span span;
    if (m_range.from)
        span.from = Find(*m_range.from);
    if (m_range.to)
        span.to = Find(*m_range.to);
    if (m_range.duration)
        span.to = FindEndOf(*m_range.duration, span);
    if (span.from >= span.to)
        Refuse(fmt::format("The range ends at {}, before it begins at {}", SecondsText(span.to),
                           SecondsText(span.from)));
    return span;
}

std::int64_t Finder::Find(MediaTime place) {
    if (place.unit == Unit::Microseconds)
        return place.count;
    std::int64_t const time = m_frames->FindTime(place.count);
    RefuseBeyond(place.count);
    return time;
}

/// Where the last frame ends is a place too.
void Finder::RefuseBeyond(std::int64_t number) const {
    if (number > m_frames->GetNumber())
        Refuse(fmt::format("There is no frame {} in {}: it has {}", number, Quote(m_input.GetPath()),
                           CountText(m_frames->GetNumber(), "frame")));
}

std::int64_t Finder::FindEndOf(MediaTime duration, Span const& span) {
    std::int64_t const beginning = std::max<std::int64_t>(m_input.GetStart(), 0);
    if (duration.unit == Unit::Microseconds)
        return av_sat_add64(m_range.from ? span.from : beginning, duration.count);
    std::int64_t const first = m_range.from ? m_frames->FindNumber(span.from) : 0;
    std::int64_t const last = av_sat_add64(first, duration.count);
    std::int64_t const end = m_frames->FindTime(last);
    RefuseBeyond(last);
    return end;
}

} // namespace

void CheckRange(TimeRange const& range) {
    for (auto const& [name, time] : {std::pair("begins at", range.from), {"ends at", range.to}})
        if (time && time->count < 0)
            Refuse(fmt::format("Give a time of 0 or more: the range {} {}", name, ToText(*time)));
    if (range.duration && range.duration->count <= 0)
        Refuse("Give a duration of more than 0");
    if (range.to && range.duration)
        Core::Throw<OptionsException>(fmt::format("the range ends at {} already", ToText(*range.to)),
                                      TagSurplusOption("duration"));
    if (range.from && range.to && range.from->unit == range.to->unit && range.from->count >= range.to->count)
        Refuse(fmt::format("End the range after its beginning: it is from {} to {}", ToText(*range.from),
                           ToText(*range.to)));
}

Span FindSpan(TimeRange const& range, Demuxer const& input, std::stop_token stop) {
    if (range.IsWhole())
        return {};
    std::string const name = Quote(input.GetPath());
    if (input.IsStill() && !input.IsCover())
        Refuse(fmt::format("Choose a video or audio file for a range of time: {} is an image", name));
    if (CountsFrames(range) && (!input.HasVideo() || input.IsCover()))
        Refuse(fmt::format("Give the range in seconds: {} has no video whose frames could be counted", name));
    return Finder(range, input, std::move(stop)).Find();
}

} // namespace Tarsel::Media
