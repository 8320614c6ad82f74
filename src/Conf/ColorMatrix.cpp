#include "Conf/ColorMatrix.h"

#include "Core/Saturate.h"

#include <algorithm>
#include <cmath>
#include <iterator>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Conf {

namespace {

/// A standard of television: its matrix, its primaries, and the weights of red and blue in luma.
struct Standard {
    std::int32_t matrix;
    std::int32_t primaries;
    double red;
    double blue;
};

/// ITU-T H.273, tables 2 and 4, as far as the scaler knows the matrices; the first row that fits counts, and
/// the first one of all where none does. The scaler takes the constant-luminance matrix of BT.2020 for the
/// other, and so do we.
constexpr Standard s_standards[] = {{AVCOL_SPC_SMPTE170M, AVCOL_PRI_SMPTE170M, 0.299, 0.114},
                                    {AVCOL_SPC_BT470BG, AVCOL_PRI_BT470BG, 0.299, 0.114},
                                    {AVCOL_SPC_BT709, AVCOL_PRI_BT709, 0.2126, 0.0722},
                                    {AVCOL_SPC_FCC, AVCOL_PRI_BT470M, 0.30, 0.11},
                                    {AVCOL_SPC_SMPTE240M, AVCOL_PRI_SMPTE240M, 0.212, 0.087},
                                    {AVCOL_SPC_BT2020_NCL, AVCOL_PRI_BT2020, 0.2627, 0.0593},
                                    {AVCOL_SPC_BT2020_CL, AVCOL_PRI_BT2020, 0.2627, 0.0593}};

/// The first row whose `member` is `number`; null for none.
Standard const* Find(std::int32_t Standard::*member, std::int32_t number) noexcept {
    auto const* const found = std::ranges::find(s_standards, number, member);
    return found != std::end(s_standards) ? found : nullptr;
}

Standard const& WeightsOf(std::int32_t matrix) noexcept {
    Standard const* const found = Find(&Standard::matrix, matrix);
    return found != nullptr ? *found : s_standards[0];
}

std::uint8_t ToByte(double value) noexcept {
    return Core::Saturate<std::uint8_t>(std::round(value));
}

} // namespace

std::int32_t PrimariesOf(std::int32_t matrix) noexcept {
    Standard const* const found = Find(&Standard::matrix, matrix);
    return found != nullptr ? found->primaries : std::int32_t{AVCOL_PRI_UNSPECIFIED};
}

std::int32_t MatrixOf(std::int32_t primaries) noexcept {
    Standard const* const found = Find(&Standard::primaries, primaries);
    return found != nullptr ? found->matrix : std::int32_t{AVCOL_SPC_BT709};
}

bool IsSameMatrix(std::int32_t a, std::int32_t b) noexcept {
    return WeightsOf(a).red == WeightsOf(b).red && WeightsOf(a).blue == WeightsOf(b).blue;
}

std::array<std::uint8_t, 3> YuvOfColor(PixColor color, std::int32_t matrix, bool fullRange) noexcept {
    Standard const& weights = WeightsOf(matrix);
    double const red = color.red / 255.0;
    double const green = color.green / 255.0;
    double const blue = color.blue / 255.0;
    double const luma = weights.red * red + (1 - weights.red - weights.blue) * green + weights.blue * blue;
    double const blueDifference = (blue - luma) / (2 * (1 - weights.blue));
    double const redDifference = (red - luma) / (2 * (1 - weights.red));
    if (fullRange)
        return {ToByte(255 * luma), ToByte(128 + 255 * blueDifference), ToByte(128 + 255 * redDifference)};
    return {ToByte(16 + 219 * luma), ToByte(128 + 224 * blueDifference), ToByte(128 + 224 * redDifference)};
}

} // namespace Tarsel::Conf
