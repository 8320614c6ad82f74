#include "Media/Container/StatedEnds.h"

#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Container/Containers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

char const* GetKind(AVStream const& stream) noexcept {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return nullptr;
    AVMediaType const type = stream.codecpar->codec_type;
    return type == AVMEDIA_TYPE_VIDEO ? "video ends" : type == AVMEDIA_TYPE_AUDIO ? "audio ends" : nullptr;
}

/// What may be missing of a length without a word: the priming and padding of codecs, or what is rounded.
std::int64_t GetTolerance(bool isExact, std::int64_t stated, std::int64_t step) noexcept {
    constexpr std::int64_t codecs = 150000;
    constexpr std::int64_t rounding = 1000000;
    return isExact ? std::max(codecs, 2 * step) : std::max(rounding, stated / 10);
}

} // namespace

StatedEnds::StatedEnds(AVFormatContext const& input) : m_streams(input.nb_streams) {
    if (input.duration_estimation_method != AVFMT_DURATION_FROM_STREAM)
        return;
    InputTraits const traits = GetTraits(*input.iformat);
    m_isExact = traits.statesExactly;
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        AVStream const& stream = *input.streams[i];
        Stream& known = m_streams[i];
        known.kind = GetKind(stream);
        if (stream.duration <= 0 || traits.statesEnd)
            continue;
        std::int64_t const start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
        known.stated = ToMicroseconds(av_sat_add64(start, stream.duration), FromAV(stream.time_base));
    }
    if (input.duration > 0 && (traits.statesEnd || input.start_time != AV_NOPTS_VALUE))
        m_stated = traits.statesEnd ? input.duration : av_sat_add64(input.start_time, input.duration);
}

void StatedEnds::Add(AVFormatContext const& input, AVPacket const& packet) {
    auto const index = static_cast<std::size_t>(packet.stream_index);
    if (index >= m_streams.size())
        return; // it turned up late
    std::int64_t const time = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    if (time == AV_NOPTS_VALUE)
        return;
    Ratio const timeBase = FromAV(input.streams[index]->time_base);
    std::int64_t const end = ToMicroseconds(av_sat_add64(time, packet.duration), timeBase);
    Stream& stream = m_streams[index];
    stream.reached = std::max(stream.reached, end);
    stream.step = std::max(stream.step, ToMicroseconds(packet.duration, timeBase));
}

std::vector<std::string> StatedEnds::Describe() const {
    std::vector<std::string> notes;
    auto const describe = [&](char const* kind, Stream const& stream, std::int64_t stated) {
        if (stated - stream.reached > GetTolerance(m_isExact, stated, stream.step))
            notes.push_back(fmt::format("The input is truncated: its {} at {} instead of {}.", kind,
                                        SecondsText(stream.reached), SecondsText(stated)));
    };
    bool hasOwn = false;
    Stream last;
    for (Stream const& stream : m_streams) {
        if (stream.kind == nullptr || stream.reached == INT64_MIN)
            continue;
        if (stream.stated != INT64_MIN) {
            hasOwn = true;
            describe(stream.kind, stream, stream.stated);
        }
        if (last.kind != nullptr && std::string_view(last.kind) != stream.kind)
            last.kind = "video and audio end";
        else
            last.kind = stream.kind;
        last.reached = std::max(last.reached, stream.reached);
        last.step = std::max(last.step, stream.step);
    }
    // The file as a whole ends with the longest of its streams.
    if (!hasOwn && m_stated != INT64_MIN && last.reached != INT64_MIN)
        describe(last.kind, last, m_stated);
    return notes;
}

} // namespace Tarsel::Media
