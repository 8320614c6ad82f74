#pragma once

#include <cstdint>

namespace Tarsel::Conf {

/// How sample values mean colors; the numbers are FFmpeg's AVColorSpace, AVColorRange and AVColorPrimaries
/// (which are those of ITU-T H.273), 2, 0 and 2 for unspecified.
struct ColorSpace {
    std::int32_t matrix = 2;
    std::int32_t range = 0;
    std::int32_t primaries = 2;

    friend bool operator==(ColorSpace const&, ColorSpace const&) = default;
};

} // namespace Tarsel::Conf
