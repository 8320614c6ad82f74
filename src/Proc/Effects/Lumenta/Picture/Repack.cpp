#include "Proc/Effects/Lumenta/Picture/Repack.h"

#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"
#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"
#include "Proc/Effects/Lumenta/Picture/ConvertedSpace.h"
#include "Proc/Wrappers/FrameFields.h"

#include <algorithm>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

/// Palettes and XYZ.
bool IsSpecial(Conf::PixFmtDescription const& format) {
    return IsRgbLike(format.GetFormat()) && !format.IsRgb();
}

} // namespace

bool CanRepack(AVFrame const& from, AVFrame const& to) {
    auto const& source = DescriptionOf(from);
    auto const& target = DescriptionOf(to);
    if (IsSpecial(source) || IsSpecial(target) || target.GetDepth() <= 8)
        return false;
    if (source.IsRgb() && target.IsRgb())
        return source.GetDepth() >= 8 && source.GetDepth() <= target.GetDepth();
    bool const isRepacked = !source.IsRgb() && !target.IsRgb() && source.GetDepth() == target.GetDepth() &&
                            GetColorCount(from) == GetColorCount(to) &&
                            source.GetChromaShiftX() == target.GetChromaShiftX() &&
                            source.GetChromaShiftY() == target.GetChromaShiftY();
    Conf::ColorSpace const space = GetFrameColorSpace(from);
    Conf::ColorSpace const targetSpace = GetFrameColorSpace(to);
    return isRepacked && space.matrix == targetSpace.matrix &&
           source.IsFullRange(space) == target.IsFullRange(targetSpace);
}

void Repack(AVFrame const& from, AVFrame& to) {
    FillPadding(to);
    for (int i = 0; i < GetColorCount(to); ++i) {
        ComponentPlane const source(from, i);
        ComponentPlane const target(to, i);
        std::vector<float> row(source.GetWidth());
        float const stretch = target.GetMaximum() / source.GetMaximum();
        for (std::uint32_t y = 0; y < source.GetHeight(); ++y) {
            source.ReadRow(y, row.data());
            for (float& value : row)
                value *= stretch;
            target.WriteRow(y, row.data());
        }
    }
}

} // namespace Tarsel::Proc
