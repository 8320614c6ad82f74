#include "Conf/YuvOfColor.h"

#include "Core/Saturate.h"

#include <algorithm>
#include <cmath>
#include <iterator>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Conf {

namespace {

/// Weights of red and blue in luma.
struct LumaWeights {
    std::int32_t matrix;
    double red;
    double blue;
};

/// ITU-T H.273, table 4, as far as the scaler knows the matrices; the first is that of BT.601. It takes the
/// constant-luminance matrix of BT.2020 for the other, and so do we.
constexpr LumaWeights s_lumaWeights[] = {
    {AVCOL_SPC_SMPTE170M, 0.299, 0.114},  {AVCOL_SPC_BT470BG, 0.299, 0.114},
    {AVCOL_SPC_BT709, 0.2126, 0.0722},    {AVCOL_SPC_FCC, 0.30, 0.11},
    {AVCOL_SPC_SMPTE240M, 0.212, 0.087},  {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593},
    {AVCOL_SPC_BT2020_CL, 0.2627, 0.0593}};

LumaWeights const& FindLumaWeights(std::int32_t matrix) noexcept {
    auto const* const found = std::find_if(std::begin(s_lumaWeights), std::end(s_lumaWeights),
                                           [matrix](auto const& row) { return row.matrix == matrix; });
    return found != std::end(s_lumaWeights) ? *found : s_lumaWeights[0];
}

std::uint8_t ToByte(double value) noexcept {
    return Core::Saturate<std::uint8_t>(std::round(value));
}

} // namespace

std::array<std::uint8_t, 3> YuvOfColor(PixColor color, std::int32_t matrix, bool fullRange) noexcept {
    LumaWeights const& weights = FindLumaWeights(matrix);
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
