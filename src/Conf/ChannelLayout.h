#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarsel::Conf {

/// Which channels audio has. A layout whose order is not known has a channel count and no mask. Any thread.
struct TARSEL_API ChannelLayout {
    /// FFmpeg's (AV_CH_*) bit mask; 0 where the order of the channels is not known.
    std::uint64_t mask = 0;
    std::uint8_t channels = 0;

    /// "stereo", "5.1", "3 channels"; FFmpeg's words.
    std::string GetName() const;
    static ChannelLayout FromMask(std::uint64_t mask) noexcept;
    /// FFmpeg's default layout of that many channels; without a mask where it has none.
    static ChannelLayout FromCount(std::uint8_t channels) noexcept;
    /// Reads what GetName writes, and FFmpeg's other spellings ("FL+FR", "0x3", "2c"); nothing when it is
    /// none.
    static std::optional<ChannelLayout> FromName(std::string const& name) noexcept;

    friend bool operator==(ChannelLayout const&, ChannelLayout const&) = default;
};

} // namespace Tarsel::Conf
