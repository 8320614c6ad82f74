#include "Proc/Effects/Lumenta/Picture/ConvertedSpace.h"

#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <iterator>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::PixFmtDescription;

/// Matrices and the primaries of the same standards; the first row that fits counts. Source: ITU-T H.273,
/// tables 2 and 4.
constexpr struct {
    std::int32_t matrix;
    std::int32_t primaries;
} s_standards[] = {
    {AVCOL_SPC_BT709, AVCOL_PRI_BT709},         {AVCOL_SPC_FCC, AVCOL_PRI_BT470M},
    {AVCOL_SPC_BT470BG, AVCOL_PRI_BT470BG},     {AVCOL_SPC_SMPTE170M, AVCOL_PRI_SMPTE170M},
    {AVCOL_SPC_SMPTE240M, AVCOL_PRI_SMPTE240M}, {AVCOL_SPC_BT2020_NCL, AVCOL_PRI_BT2020},
    {AVCOL_SPC_BT2020_CL, AVCOL_PRI_BT2020},
};

std::int32_t PrimariesOf(std::int32_t matrix) noexcept {
    auto const* const found =
        std::ranges::find(s_standards, matrix, [](auto const& row) { return row.matrix; });
    return found != std::end(s_standards) ? found->primaries : AVCOL_PRI_UNSPECIFIED;
}

std::int32_t MatrixOf(std::int32_t primaries) noexcept {
    auto const* const found =
        std::ranges::find(s_standards, primaries, [](auto const& row) { return row.primaries; });
    return found != std::end(s_standards) ? found->matrix : AVCOL_SPC_BT709;
}

bool HasFixedRange(PixFmtDescription const& format) noexcept {
    return Conf::WithoutFixedRange(format.GetFormat()) != format.GetFormat();
}

Conf::ColorSpace RgbOfYuv(Conf::ColorSpace space) noexcept {
    if (space.matrix != AVCOL_SPC_UNSPECIFIED) {
        if (space.primaries == AVCOL_PRI_UNSPECIFIED)
            space.primaries = PrimariesOf(space.matrix);
        space.matrix = AVCOL_SPC_RGB;
    }
    space.range = AVCOL_RANGE_JPEG;
    return space;
}

Conf::ColorSpace YuvOfRgb(Conf::ColorSpace space, PixFmtDescription const& to) {
    if (space.matrix == AVCOL_SPC_RGB)
        space.matrix = MatrixOf(space.primaries);
    space.range = to.IsGray() || HasFixedRange(to) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return space;
}

Conf::ColorSpace YuvOfYuv(PixFmtDescription const& from, Conf::ColorSpace space,
                          PixFmtDescription const& to) {
    bool const isFull = from.IsFullRange(space);
    if (space.matrix == AVCOL_SPC_RGB) // gray that came from RGB
        space.matrix = AVCOL_SPC_UNSPECIFIED;
    if (HasFixedRange(to))
        space.range = AVCOL_RANGE_JPEG;
    else if (to.IsFullRange(space) != isFull)
        space.range = isFull ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return space;
}

} // namespace

bool IsRgbLike(Conf::PixFmt format) {
    auto const& description = PixFmtDescription::Find(format);
    return description.IsRgb() || (description.GetFlags() & PixFmtDescription::Palette) != 0 ||
           description.GetName().starts_with("xyz");
}

Conf::ColorSpace ConvertedSpace(Conf::PixFmt from, Conf::ColorSpace space, Conf::PixFmt to) {
    bool const fromRgb = IsRgbLike(from);
    bool const toRgb = IsRgbLike(to);
    auto const& target = PixFmtDescription::Find(to);
    if (fromRgb && toRgb)
        return space;
    if (toRgb)
        return RgbOfYuv(space);
    if (fromRgb)
        return YuvOfRgb(space, target);
    return YuvOfYuv(PixFmtDescription::Find(from), space, target);
}

} // namespace Tarsel::Proc
