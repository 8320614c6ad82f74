#pragma once

#include "Conf/PixFmt.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// How far red, green and blue are shifted, −1 to 1 each.
struct ChromaBalance {
    std::array<float, 3> shadows{};
    std::array<float, 3> midtones{};
    std::array<float, 3> highlights{};
};

/// A picture as frames have it: planes in the order of the format, strides in bytes, which may be negative.
/// The two pictures may be the same, but not overlap otherwise; rows lie at
/// any address that suits their samples.
struct BalancedPicture {
    Conf::PixFmt format;
    std::array<std::uint8_t const*, 4> from;
    std::array<std::ptrdiff_t, 4> fromStrides;
    std::array<std::uint8_t*, 4> to;
    std::array<std::ptrdiff_t, 4> toStrides;
    std::size_t width;
    std::size_t height;
};

/// Whether BalanceChroma makes of such frames what the filter "colorbalance" does: packed RGB of three or
/// four bytes, and planar RGB of 8 bits and, low byte first, 10; on x86 only. Throws CoreException for a
/// format that FFmpeg does not know. Any thread.
bool CoversBalanceChroma(Conf::PixFmt format);

/// Adds the shifts to red, green and blue, each weighted by how dark, medium or bright the pixel is: linear
/// ramps over l = max + min of the three, in floats of 0 to 1. Alpha and padding stay as they are. The format
/// is covered. Allocates nothing. Any thread. Source: the color balance of image editors, with
/// ramps of slope 4 around l = 0.333 and 0.667 and a scale of 0.7.
void BalanceChroma(BalancedPicture const& picture, ChromaBalance const& balance);

} // namespace Tarsel::Proc
