#include "Media/TimeRange.h"

#include "Media/Base/MessageText.h"

#include <fmt/format.h>

#include <cmath>

namespace Tarsel::Media {

MediaTime MediaTime::Seconds(double seconds) noexcept {
    constexpr double most = 1e12;
    return {std::abs(seconds) <= most ? std::llround(seconds * 1e6) : -1};
}

std::string ToText(MediaTime time) {
    return time.unit == MediaTime::Unit::Frames ? fmt::format("frame {}", time.count)
                                                : SecondsText(time.count);
}

} // namespace Tarsel::Media
