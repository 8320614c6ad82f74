#include "Colors.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Wrappers/SafeSwsContext.h"
#include "Support/Planes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;

Proc::SwsCtxSide SideOf(Proc::IDataVideo const& data) {
    Conf::FrameInfo const info = data.GetFrameInfo();
    return {info.width, info.height, data.GetPixelFormat(), data.GetColorSpace()};
}

void Scale(Proc::IDataVideo const& from, Proc::IDataVideo& to) {
    Proc::SafeSwsContext({SideOf(from), SideOf(to)}).Scale(*from.GetAVFrame(), *to.GetAVFrame());
}

} // namespace

SP<Proc::IDataVideo> PaintFrame(PixFmt format, Conf::ColorSpace const& space, Conf::FrameInfo const& info,
                                Painter const& painter) {
    SP<Proc::IDataVideo> const rgba = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, PixFmt::RGBA, info);
    Proc::WritablePlane const plane = rgba->GetWritablePlane(0);
    for (std::uint32_t y = 0; y < info.height; ++y)
        for (std::uint32_t x = 0; x < info.width; ++x) {
            Conf::PixColor const color = painter(x, y);
            std::memcpy(plane.data + y * plane.lineSize + 4 * x, &color, 4);
        }
    SP<Proc::IDataVideo> data = MakeSP<Proc::DataVideoFF>(space, format, info);
    Scale(*rgba, *data);
    return data;
}

std::vector<Conf::PixColor> ReadColors(Proc::IDataVideo const& data) {
    SP<Proc::IDataVideo> const rgba =
        MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, PixFmt::RGBA, data.GetFrameInfo());
    Scale(data, *rgba);
    Proc::ReadOnlyPlane const plane = rgba->GetReadOnlyPlane(0);
    std::vector<Conf::PixColor> colors(plane.rowBytes / 4 * plane.rows);
    for (std::uint32_t y = 0; y < plane.rows; ++y)
        std::memcpy(&colors[y * plane.rowBytes / 4], plane.data + y * plane.lineSize, plane.rowBytes);
    return colors;
}

std::vector<std::uint32_t> ReadSamples(Proc::IDataVideo const& data, int component) {
    AVFrame const& frame = *data.GetAVFrame();
    Conf::FrameInfo const info = data.GetFrameInfo();
    auto const& format = PixFmtDescription::Find(data.GetPixelFormat());
    std::uint32_t const width = format.GetPlanWidth(component, info.width);
    std::uint32_t const height = format.GetPlanHeight(component, info.height);
    std::vector<std::uint32_t> samples(std::size_t{width} * height);
    std::uint8_t const* planes[4] = {frame.data[0], frame.data[1], frame.data[2], frame.data[3]};
    for (std::uint32_t y = 0; y < height; ++y)
        av_read_image_line2(&samples[std::size_t{y} * width], planes, frame.linesize,
                            av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format)), 0,
                            static_cast<int>(y), component, static_cast<int>(width), 0, 4);
    return samples;
}

std::vector<double> ReadShares(Proc::IDataVideo const& data, int component) {
    auto const& format = PixFmtDescription::Find(data.GetPixelFormat());
    bool const isFloat = (format.GetFlags() & PixFmtDescription::Float) != 0;
    auto const& descriptor = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(data.GetPixelFormat()));
    double const full = std::exp2(descriptor.comp[component].depth) - 1;
    std::vector<double> shares;
    for (std::uint32_t const sample : ReadSamples(data, component)) {
        double const value = isFloat ? double{std::bit_cast<float>(sample)} : sample / full;
        shares.push_back(std::isnan(value) ? 0 : value);
    }
    return shares;
}

int Difference(Conf::PixColor a, Conf::PixColor b, bool withAlpha) {
    return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue),
                     withAlpha ? std::abs(a.alpha - b.alpha) : 0});
}

SP<Proc::IDataVideo> StoreBottomUp(Proc::IDataVideo const& data) {
    return MakeSP<Proc::DataVideoFF>(StoreBottomUp(*data.GetAVFrame()), data.GetFrameInfo());
}

} // namespace Tarsel::Test
