#pragma once

#include "Conf/PixColor.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc::Plain {

/// What a picture of 4-byte pixels (red, green, blue, alpha) becomes.
struct Quantized {
    /// Before its background.
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint8_t> indices;
    /// As many entries of 4 bytes as there are.
    std::vector<std::uint8_t> palette;
};

/// The quantizer as it is defined, one step after the other and nothing saved: what the fast one is held to.
/// Rows of `width` pixels without padding.
Quantized Quantize(std::vector<std::uint8_t> pixels, std::size_t width, unsigned colors, bool dither,
                   Conf::PixColor background);

} // namespace Tarsel::Proc::Plain
