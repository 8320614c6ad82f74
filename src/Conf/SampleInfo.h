#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/SampleFormats.h"

#include <bit>
#include <cstdint>

namespace Tarsel::Conf {

/// Format, rate (samples a second for each channel) and channels of audio; all ones marks an unknown
/// format or rate, a layout of no channels an unknown layout.
/// A value, compared member by member.
struct SampleInfo {
    SampleFormats format = SampleFormats::Unknown;
    std::int32_t rate = -1;
    ChannelLayout layout;

    static SampleInfo Init(SampleFormats format, std::int32_t rate, ChannelLayout layout) noexcept {
        return {format, rate, layout};
    }

    friend bool operator==(SampleInfo const&, SampleInfo const&) = default;
};

/// Whether nothing about the audio is unknown, and the layout names as many channels as it has, or none.
inline bool IsKnown(SampleInfo const& info) noexcept {
    auto const& [mask, channels] = info.layout;
    return static_cast<std::uint32_t>(info.format) <=
               static_cast<std::uint32_t>(SampleFormats::DoublePlanar) &&
           info.rate > 0 && channels > 0 && (mask == 0 || std::popcount(mask) == channels);
}

} // namespace Tarsel::Conf
