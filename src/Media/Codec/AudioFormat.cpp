#include "Media/Codec/AudioFormat.h"

#include "Conf/FFmpegFormats.h"
#include "Media/Base/Times.h"

#include <algorithm>
#include <tuple>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace Tarsel::Media {

namespace {

using Conf::ChannelLayout;
using Conf::SampleFmtRecord;
using Conf::SampleFormats;

constexpr int s_lossyDepth = 16;

} // namespace

Conf::SampleInfo GetSampleInfo(AVCodecParameters const& parameters) noexcept {
    ChannelLayout layout = Conf::TarselFromAVChannelLayout(parameters.ch_layout);
    if (layout.mask == 0 && layout.channels > 0 && layout.channels <= 2)
        layout = ChannelLayout::FromCount(layout.channels);
    return {Conf::SampleFormatTarselFromFFMPEG(parameters.format),
            parameters.sample_rate > 0 ? parameters.sample_rate : -1, layout};
}

int GetDepth(AVCodecParameters const& parameters) noexcept {
    AVCodecDescriptor const* const descriptor = avcodec_descriptor_get(parameters.codec_id);
    if (descriptor == nullptr || (descriptor->props & AV_CODEC_PROP_LOSSLESS) == 0)
        return s_lossyDepth;
    if (parameters.bits_per_raw_sample > 0)
        return parameters.bits_per_raw_sample;
    int const bits = av_get_exact_bits_per_sample(parameters.codec_id);
    return bits > 0 ? bits : GetDepth(Conf::SampleFormatTarselFromFFMPEG(parameters.format));
}

int GetDepth(SampleFormats format) noexcept {
    return 8 * SampleFmtRecord::Find(format).size;
}

int GetExactBits(SampleFormats format) noexcept {
    int const bits = GetDepth(format);
    constexpr int floatBits = 24;
    constexpr int doubleBits = 53;
    return !Conf::IsReal(format) ? bits : bits == 32 ? floatBits : doubleBits;
}

bool IsSameAudio(Conf::SampleInfo const& a, Conf::SampleInfo const& b) noexcept {
    bool const sameLayout = a.layout == b.layout || (a.layout.channels == b.layout.channels &&
                                                     (a.layout.mask == 0 || b.layout.mask == 0));
    return a.format == b.format && a.rate == b.rate && sameLayout;
}

SampleFormats ChooseSampleFormat(std::span<SampleFormats const> legal, SampleFormats wanted, int depth) {
    if (legal.empty())
        return wanted;
    int const bits = Conf::IsReal(wanted) ? depth : std::min(depth, GetExactBits(wanted));
    // The least is the best.
    auto const rank = [&](SampleFormats format) {
        SampleFmtRecord const& record = SampleFmtRecord::Find(format);
        SampleFmtRecord const& ideal = SampleFmtRecord::Find(wanted);
        bool const isType = record.planarCounterpart == ideal.planarCounterpart;
        bool const clips = Conf::IsReal(wanted) && !Conf::IsReal(format);
        int const lost = std::max(bits - GetExactBits(format), 0);
        return std::tuple(format != wanted, !isType, clips, lost, record.size, Conf::IsReal(format));
    };
    return *std::ranges::min_element(legal, {}, rank);
}

std::int32_t ChooseSampleRate(std::span<std::int32_t const> legal, std::int32_t wanted) {
    if (legal.empty())
        return wanted;
    return *std::ranges::min_element(legal, {}, [&](std::int32_t rate) {
        return std::tuple(rate < wanted, rate < wanted ? -rate : rate);
    });
}

std::vector<ChannelLayout> RankLayouts(std::span<ChannelLayout const> legal, ChannelLayout const& wanted) {
    std::vector<ChannelLayout> layouts(legal.begin(), legal.end());
    if (layouts.empty()) {
        layouts = {wanted, ChannelLayout::FromCount(wanted.channels)};
        for (std::uint8_t count = wanted.channels; count > 0; --count)
            layouts.push_back(ChannelLayout::FromCount(count));
    }
    ChannelLayout const usual = ChannelLayout::FromCount(wanted.channels);
    std::ranges::stable_sort(layouts, {}, [&](ChannelLayout const& layout) {
        int const more = layout.channels - wanted.channels;
        return std::tuple(layout != wanted, more < 0, more < 0 ? -more : more, layout != usual);
    });
    layouts.erase(std::unique(layouts.begin(), layouts.end()), layouts.end());
    return layouts;
}

AudioStreamInfo DescribeAudio(AVStream const& stream, int number, Conf::SampleInfo const& format,
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
