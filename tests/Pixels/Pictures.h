#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

enum class PictureKind {
    Noise,
    Ramp,
    /// Smooth shades with a fine texture.
    Photo,
    /// Large areas of few colors.
    Drawing,
    OneColor
};

enum class PictureAlpha {
    Opaque,
    Noise,
    /// Opaque in the middle, transparent around it, soft between.
    Disc
};

/// A reproducible picture: rows without padding, 4 bytes a pixel, red, green, blue, alpha. `texture` is the
/// strength of what lies over a photo.
std::vector<std::uint8_t> MakePicture(PictureKind kind, PictureAlpha alpha, std::size_t width,
                                      std::size_t height, unsigned texture = 15);

} // namespace Tarsel::Proc
