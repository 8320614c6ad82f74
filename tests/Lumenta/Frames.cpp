#include "Frames.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Wrappers/SafeSwsContext.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>

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

SP<Proc::IDataVideo> MakeFrame(Conf::PixFmt format, Conf::FrameInfo const& info, std::int64_t time,
                               std::int64_t duration, std::uint32_t seed) {
    SP<Proc::IDataVideo> data = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, format, info);
    auto const& description = Conf::PixFmtDescription::Find(format);
    int const depth = description.GetDepth();
    bool const isBig = (description.GetFlags() & Conf::PixFmtDescription::BigEndian) != 0;
    std::mt19937 noise(seed);
    for (int plane = 0; plane < description.GetPlaneCount(); ++plane) {
        Proc::WritablePlane const to = data->GetWritablePlane(plane);
        for (std::uint32_t y = 0; y < to.rows; ++y)
            std::generate_n(to.data + y * to.lineSize, to.rowBytes,
                            [&] { return static_cast<std::uint8_t>(noise()); });
        if (depth > 8 && depth < 16)
            for (std::uint32_t y = 0; y < to.rows; ++y)
                for (std::size_t x = isBig ? 0 : 1; x < to.rowBytes; x += 2)
                    to.data[y * to.lineSize + static_cast<std::ptrdiff_t>(x)] &=
                        static_cast<std::uint8_t>(0xFF >> (16 - depth));
    }
    data->SetTime(time);
    data->SetDuration(duration);
    return data;
}

SP<Proc::IDataVideo> MakeOverfullFrame(Conf::PixFmt format, Conf::FrameInfo const& info) {
    SP<Proc::IDataVideo> data = MakeFrame(format, info);
    for (int plane = 0; plane < Conf::PixFmtDescription::Find(format).GetPlaneCount(); ++plane)
        FillPlane(*data->GetAVFrame(), plane, 0xFF);
    return data;
}

SP<Proc::IDataVideo> MakeLiar(Conf::FrameInfo const& real, Conf::FrameInfo const& stated) {
    return MakeSP<Proc::DataVideoFF>(*MakeFrame(Conf::PixFmt::YUV420P, real)->GetAVFrame(), stated);
}

Pixels GetPixels(Proc::IDataVideo const& data) {
    Pixels pixels;
    for (int plane = 0; plane < Conf::PixFmtDescription::Find(data.GetPixelFormat()).GetPlaneCount(); ++plane)
        pixels.push_back(PlaneBytes(*data.GetAVFrame(), plane));
    return pixels;
}

std::string GetRaw(Proc::IDataVideo const& data) {
    std::string raw;
    for (auto const& plane : GetPixels(data))
        raw.append(plane.begin(), plane.end());
    if (data.GetPixelFormat() == Conf::PixFmt::PAL8)
        raw.append(reinterpret_cast<char const*>(data.GetAVFrame()->data[1]), AVPALETTE_SIZE);
    return raw;
}

Proc::IEffectStreamVideo& StreamOf(Proc::IOneInputEffectVideo& effect) {
    return dynamic_cast<Proc::IEffectStreamVideo&>(effect);
}

FrameList TakeAll(Proc::IEffectStreamVideo& stream) {
    FrameList out;
    while (SP<Proc::IDataVideo> data = stream.Take())
        out.push_back(data);
    return out;
}

FrameList RunStream(Proc::IOneInputEffectVideo& effect, FrameList const& in) {
    Proc::IEffectStreamVideo& stream = StreamOf(effect);
    FrameList out;
    auto const takeAll = [&] { std::ranges::move(TakeAll(stream), std::back_inserter(out)); };
    for (SP<Proc::IDataVideo> const& data : in) {
        stream.Feed(data);
        takeAll();
    }
    stream.End();
    takeAll();
    return out;
}

SP<Proc::IDataVideo> Apply(Proc::IOneInputEffectVideo& effect, SP<Proc::IDataVideo> data) {
    effect.Process(data);
    return data;
}

SP<Conf::IFormatCodecVideo> MakeCodec(Conf::PixFmt format, Conf::FrameInfo const& info) {
    return MakeSP<Conf::FormatCodecVideo>(format, info);
}

SP<Conf::IFormatCodecVideo> Ask(Proc::IOneInputEffectVideo& effect, Conf::PixFmt format,
                                Conf::FrameInfo const& info) {
    SP<Conf::IFormatCodecVideo> codec = MakeCodec(format, info);
    effect.UpdateFormatCodec(codec);
    return codec;
}

std::string Describe(Proc::IOneInputEffectVideo const& effect, Conf::PixFmt format,
                     Conf::FrameInfo const& info) {
    return dynamic_cast<Proc::IEffectDetailsVideo const&>(effect).Describe(*MakeCodec(format, info));
}

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
