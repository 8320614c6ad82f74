#include "Frames.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Interfaces/IEffectDetails.h"

#include <algorithm>
#include <random>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {

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

} // namespace Tarsel::Test
