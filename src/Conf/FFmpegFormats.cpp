#include "Conf/FFmpegFormats.h"

#include <limits>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Conf {

namespace {

constexpr int s_maskBits = 64;

/// The mask of a layout that lists its channels one by one; 0 where it lists them in another order than masks
/// do, or one that masks do not have.
std::uint64_t MaskOfListedChannels(AVChannelLayout const& layout) noexcept {
    std::uint64_t mask = 0;
    int last = -1;
    for (int i = 0; i < layout.nb_channels; ++i) {
        int const channel = layout.u.map[i].id;
        if (channel <= last || channel >= s_maskBits)
            return 0;
        mask |= std::uint64_t{1} << channel;
        last = channel;
    }
    return mask;
}

std::uint64_t MaskOf(AVChannelLayout const& layout) noexcept {
    if (layout.order == AV_CHANNEL_ORDER_NATIVE)
        return layout.u.mask;
    if (layout.order == AV_CHANNEL_ORDER_CUSTOM)
        return MaskOfListedChannels(layout);
    return 0;
}

} // namespace

int SampleFormatFFMPEGFromTarsel(SampleFormats format) noexcept {
    SampleFormats const known = SampleFmtRecord::Find(format).format;
    return known == SampleFormats::Unknown ? AV_SAMPLE_FMT_NONE : static_cast<int>(known);
}

SampleFormats SampleFormatTarselFromFFMPEG(int format) noexcept {
    return SampleFmtRecord::Find(static_cast<SampleFormats>(format)).format;
}

std::uint64_t AVChannelLayoutMaskFromTarsel(ChannelLayout const& layout) noexcept {
    if (layout.mask != 0)
        return layout.mask;
    AVChannelLayout standard{};
    av_channel_layout_default(&standard, layout.channels);
    return MaskOf(standard);
}

ChannelLayout TarselFromAVChannelLayout(AVChannelLayout const& layout) noexcept {
    if (layout.nb_channels < 0 || layout.nb_channels > std::numeric_limits<std::uint8_t>::max())
        return {};
    return {MaskOf(layout), static_cast<std::uint8_t>(layout.nb_channels)};
}

AVChannelLayout AVChannelLayoutFromTarsel(ChannelLayout const& layout) noexcept {
    AVChannelLayout result{};
    if (layout.mask != 0) {
        av_channel_layout_from_mask(&result, layout.mask);
    } else {
        result.order = AV_CHANNEL_ORDER_UNSPEC;
        result.nb_channels = layout.channels;
    }
    return result;
}

} // namespace Tarsel::Conf
