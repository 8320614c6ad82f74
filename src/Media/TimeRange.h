#pragma once

#include "Media/Api.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarsel::Media {

/// A place in a file: a time of its clock, or a frame of its video, the first of which has the number 0. Or a
/// length, in either unit.
struct MediaTime {
    enum class Unit : std::uint8_t { Microseconds, Frames };

    std::int64_t count = 0;
    Unit unit = Unit::Microseconds;

    /// To the nearest microsecond; what is no number, or beyond 10^12 s, becomes a time that is refused.
    static TARSEL_MEDIA_API MediaTime Seconds(double seconds) noexcept;
    static constexpr MediaTime Frames(std::int64_t count) noexcept { return {count, Unit::Frames}; }

    friend bool operator==(MediaTime const&, MediaTime const&) = default;
};

/// "2.5 s", "frame 120". Any thread.
TARSEL_MEDIA_API std::string ToText(MediaTime time);

/// A part of a file. Frames belong to it that are shown first at `from` or later and before `to`; audio is
/// cut at these times to the sample.
struct TimeRange {
    /// Nothing: from the beginning of all streams.
    std::optional<MediaTime> from;
    /// Nothing: to their ends.
    std::optional<MediaTime> to;
    /// In place of `to`, from `from` on; without that from time 0, or where the file begins if that is later.
    std::optional<MediaTime> duration;

    bool IsWhole() const noexcept { return !from && !to && !duration; }
};

} // namespace Tarsel::Media
