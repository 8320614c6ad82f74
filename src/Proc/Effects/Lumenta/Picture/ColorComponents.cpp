#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"

#include "Conf/AVFormats.h"
#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"
#include "Proc/Wrappers/FrameFields.h"

#include <cmath>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

/// Red, green and blue, or luma and chroma, of 8 bits.
std::array<std::uint8_t, 3> EightBits(Conf::PixFmtDescription const& format, Conf::PixColor color,
                                      Conf::ColorSpace space) {
    if (format.IsRgb())
        return {color.red, color.green, color.blue};
    space.range = format.IsFullRange(space) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    Conf::PixComponents const yuv =
        Conf::PixFmtDescription::Find(Conf::PixFmt::YUV444P).MakeColor(color, space);
    return {yuv[0], yuv[1], yuv[2]};
}

} // namespace

std::array<float, 4> ComponentsOfColor(Conf::PixFmtDescription const& format, Conf::PixColor color,
                                       Conf::ColorSpace const& space) {
    AVPixFmtDescriptor const& descriptor = *av_pix_fmt_desc_get(Conf::ToAVPixelFormat(format.GetFormat()));
    std::array<std::uint8_t, 3> const bytes = EightBits(format, color, space);
    bool const isFloat = (format.GetFlags() & Conf::PixFmtDescription::Float) != 0;
    bool const isFull = format.IsFullRange(space);
    int const colors = descriptor.nb_components - (format.HasAlpha() ? 1 : 0);

    std::array<float, 4> values{};
    for (int i = 0; i < descriptor.nb_components; ++i) {
        auto const index = static_cast<std::size_t>(i);
        int const depth = descriptor.comp[i].depth;
        double const maximum = isFloat ? 1 : std::exp2(depth) - 1;
        bool const isAlpha = i >= colors;
        double const value = isAlpha ? color.alpha : bytes[index];
        bool const isChroma = !format.IsRgb() && !isAlpha && i > 0;
        double stretched = 0;
        if (isAlpha || (isFull && !isChroma))
            stretched = value * maximum / 255;
        else if (isFull)
            stretched = (value - 128) * maximum / 255 + (maximum + 1) / 2;
        else
            stretched = isFloat ? value / 255 : value * std::exp2(depth - 8);
        values[index] = static_cast<float>(stretched);
    }
    return values;
}

void FillPadding(AVFrame& frame) {
    auto const& format = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format));
    int const padding = format.IsRgb() && format.GetPlaneCount() == 1 ? 0xFF : 0;
    for (int plane = 0; plane < format.GetPlaneCount(); ++plane) {
        auto const bytes = static_cast<std::size_t>(
            av_image_get_linesize(Conf::ToAVPixelFormat(frame.format), frame.width, plane));
        auto const rows = format.GetPlanHeight(plane, static_cast<std::uint32_t>(frame.height));
        for (std::uint32_t y = 0; y < rows; ++y)
            std::memset(frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane], padding,
                        bytes);
    }
}

void FillPicture(AVFrame& frame, Conf::PixColor color) {
    FillPadding(frame);
    auto const& format = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format));
    std::array<float, 4> const values = ComponentsOfColor(format, color, GetFrameColorSpace(frame));
    for (int i = 0; i < GetComponentCount(frame); ++i) {
        ComponentPlane const plane(frame, i);
        std::vector<float> const row(plane.GetWidth(), values[static_cast<std::size_t>(i)]);
        for (std::uint32_t y = 0; y < plane.GetHeight(); ++y)
            plane.WriteRow(y, row.data());
    }
}

} // namespace Tarsel::Proc
