#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// What an encoder demands of pictures beyond the list of its formats.
struct EncoderRules {
    /// Formats it takes; empty: any.
    std::vector<Conf::PixFmt> formats;
    /// Its files cannot say whether values use their full range: they count as limited.
    bool losesRange = false;
    /// JPEG: full range, and the colours of BT.601.
    bool isJpeg = false;
    /// Lossy WebP: limited range, and the colours of BT.601.
    bool isWebp = false;
    /// Subsampled chroma wants sizes that are whole in chroma samples.
    bool wantsWholeChroma = false;
};

/// The pictures an encoder gets.
struct EncoderPicture {
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;
    /// Pixels have to be computed; otherwise only the names of format and range change.
    bool isConverted = false;
    /// FFmpeg's FF_LOSS_* bits.
    int loss = 0;
};

/// The nearest to the lane's pictures that the encoder takes; PixFmt::None when there is none. Pure; any
/// thread.
EncoderPicture ChoosePicture(Conf::PixFmt format, Conf::ColorSpace const& space, std::uint32_t width,
                             std::uint32_t height, EncoderRules const& rules);

/// What is lost, for people: "alpha, depth"; "" for nothing.
std::string LossText(int loss);

} // namespace Tarsel::Media
