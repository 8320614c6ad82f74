#include "Conf/ChannelLayout.h"

#include "Conf/FFmpegFormats.h"

#include <array>
#include <bit>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace Tarsel::Conf {

std::string ChannelLayout::GetName() const {
    AVChannelLayout const layout = AVChannelLayoutFromTarsel(*this);
    // Every one of the 64 channels by name would need less.
    std::array<char, 512> name{};
    av_channel_layout_describe(&layout, name.data(), name.size());
    return name.data();
}

ChannelLayout ChannelLayout::FromMask(std::uint64_t mask) noexcept {
    return {mask, static_cast<std::uint8_t>(std::popcount(mask))};
}

ChannelLayout ChannelLayout::FromCount(std::uint8_t channels) noexcept {
    return {AVChannelLayoutMaskFromTarsel({0, channels}), channels};
}

std::optional<ChannelLayout> ChannelLayout::FromName(std::string const& name) noexcept {
    AVChannelLayout layout{};
    std::optional<ChannelLayout> result;
    if (av_channel_layout_from_string(&layout, name.c_str()) >= 0)
        if (ChannelLayout const known = TarselFromAVChannelLayout(layout); known.channels != 0)
            result = known;
    av_channel_layout_uninit(&layout);
    return result;
}

} // namespace Tarsel::Conf
