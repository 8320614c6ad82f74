#pragma once

#include "Core/Ratio.h"

#include <cstdint>
#include <limits>

extern "C" {
#include <libavutil/rational.h>
}

namespace Tarsel::Media {

/// The fraction as FFmpeg's, reduced only where its terms are too large.
inline AVRational ToAV(Ratio ratio) noexcept {
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    if (ratio.numerator >= -largest && ratio.numerator <= largest && ratio.denominator >= -largest &&
        ratio.denominator <= largest)
        return {static_cast<int>(ratio.numerator), static_cast<int>(ratio.denominator)};
    AVRational result{0, 1};
    av_reduce(&result.num, &result.den, ratio.numerator, ratio.denominator, largest);
    return result;
}

inline Ratio FromAV(AVRational rational) noexcept {
    return {rational.num, rational.den};
}

} // namespace Tarsel::Media
