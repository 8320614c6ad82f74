#pragma once

#include "Conf/PixColor.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc::Plain {

/// A picture of 4-byte pixels (red, green, blue, alpha) and where its indices and palette go.
struct Pictures {
    std::uint8_t* pixels;
    std::ptrdiff_t pixelStride;
    std::uint8_t* indices;
    std::ptrdiff_t indexStride;
    std::uint8_t* palette;
    std::size_t width;
    std::size_t height;
};

/// The quantiser as it is defined, one step after the other and nothing saved: what the fast one is held to.
void Quantise(Pictures const& pictures, unsigned colours, bool dither, Conf::PixColor background);

} // namespace Tarsel::Proc::Plain
