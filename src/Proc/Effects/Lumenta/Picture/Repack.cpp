#include "Proc/Effects/Lumenta/Picture/Repack.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"
#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Wrappers/FrameFields.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

using Conf::Color::Model;

bool CanRepack(AVFrame const& from, AVFrame const& to) {
    auto const& source = DescriptionOf(from);
    auto const& target = DescriptionOf(to);
    Model const model = Conf::Color::ModelOf(source.GetFormat());
    if (model != Conf::Color::ModelOf(target.GetFormat()) || model == Model::Palette || model == Model::Xyz ||
        target.GetDepth() <= 8)
        return false;
    if (model == Model::Rgb)
        return source.GetDepth() >= 8 && source.GetDepth() <= target.GetDepth();
    return source.GetDepth() == target.GetDepth() && source.GetChromaShiftX() == target.GetChromaShiftX() &&
           source.GetChromaShiftY() == target.GetChromaShiftY() &&
           Conf::Color::MeansTheSame({source.GetFormat(), GetFrameColorSpace(from)},
                                     {target.GetFormat(), GetFrameColorSpace(to)});
}

void Repack(AVFrame const& from, AVFrame& to) {
    FillPadding(to);
    for (int i = 0; i < GetColorCount(to); ++i)
        CopyComponent({from, i}, {to, i});
}

} // namespace Tarsel::Proc
