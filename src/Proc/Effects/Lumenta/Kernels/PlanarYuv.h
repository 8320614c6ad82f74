#pragma once

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"

namespace Tarsel::Proc {

/// Whether the format is limited-range YUV with a plane for each component, of 8 bits or, low byte first and
/// without alpha, of 10: those that each filter for planes of YUV takes as they are.
inline bool IsPlanarYuv(Conf::PixFmtDescription const& pixels) {
    if (Conf::Color::ModelOf(pixels.GetFormat()) != Conf::Color::Model::Yuv ||
        !Conf::Color::HasPlanePerComponent(pixels.GetFormat()) || pixels.IsFullRange({}))
        return false;
    bool const isLittleEndian = (pixels.GetFlags() & Conf::PixFmtDescription::BigEndian) == 0;
    return pixels.GetDepth() == 8 || (pixels.GetDepth() == 10 && isLittleEndian && !pixels.HasAlpha() &&
                                      pixels.GetChromaShiftX() >= pixels.GetChromaShiftY());
}

/// Whether the format is luma of 8 bits or, low byte first, of 10.
inline bool IsPlainGray(Conf::PixFmtDescription const& pixels) {
    bool const isLittleEndian = (pixels.GetFlags() & Conf::PixFmtDescription::BigEndian) == 0;
    return pixels.IsGray() && !pixels.HasAlpha() && isLittleEndian &&
           (pixels.GetDepth() == 8 || pixels.GetDepth() == 10);
}

} // namespace Tarsel::Proc
