#pragma once

#include "Conf/Color.h"
#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Media/Codec/Encoders.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Tarsel::Media {

/// What an encoder demands of pictures beyond the list of its formats.
struct EncoderRules {
    /// Formats it takes; empty: any.
    std::vector<Conf::PixFmt> formats;
    /// Its files cannot say whether values use their full range: readers take what is usual, full for gray
    /// and limited for YUV.
    bool losesRange = false;
    CodecFacts codec;
};

/// The pictures an encoder gets.
struct VideoConversion {
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;
    /// Pixels have to be computed; otherwise only the names of format and range change.
    bool isConverted = false;
    /// FFmpeg's FF_LOSS_* bits.
    int loss = 0;
};

/// What RGB that was made of such input has to become where the encoder wants YUV: what it was, lest colors
/// shift or players meet a format they do not know. Nothing where the input is no YUV. Pure; any thread.
std::optional<Conf::Color::Form> FindYuvOrigin(Conf::Color::Form const& input);

/// The nearest to the chain's pictures that the encoder takes; PixFmt::None when there is none. `origin` is
/// what YUV becomes that has to be made of RGB, if the encoder takes that; without it the colors of HD.
/// Pure; any thread.
VideoConversion ChooseVideoConversion(Conf::PixFmt format, Conf::ColorSpace const& space, std::uint32_t width,
                                      std::uint32_t height, EncoderRules const& rules,
                                      std::optional<Conf::Color::Form> const& origin = {});

} // namespace Tarsel::Media
