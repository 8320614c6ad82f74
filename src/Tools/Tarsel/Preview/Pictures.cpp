#include "Tools/Tarsel/Preview/Pictures.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Wrappers/SafeSwsContext.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <span>

namespace Tarsel::Tools {
namespace {

SP<Proc::IDataVideo> MakeRgb(Proc::IDataVideo const& like) {
    auto const info = like.GetFrameInfo();
    return MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), Conf::PixFmt::RGB24,
                                     Conf::FrameInfo{info.width, info.height, 1, 1});
}

SP<Proc::IDataVideo> Convert(Proc::IDataVideo const& frame, Conf::PixFmt format, Size size) {
    auto result =
        MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), format, Conf::FrameInfo{size.width, size.height, 1, 1});
    Proc::SafeSwsContext const scaler(
        {Proc::SideOf(*frame.GetAVFrame()), {size.width, size.height, format, {}}});
    scaler.Scale(*frame.GetAVFrame(), *result->GetAVFrame());
    return result;
}

template <class Byte>
Byte* RowOf(Byte* data, std::ptrdiff_t lineSize, std::uint32_t row) {
    return data + static_cast<std::ptrdiff_t>(row) * lineSize;
}

/// RGBA over light and dark squares.
SP<Proc::IDataVideo> BlendOverCheckers(Proc::IDataVideo const& rgba) {
    constexpr std::uint32_t side = 8;
    constexpr int light = 204;
    constexpr int dark = 153;
    SP<Proc::IDataVideo> const result = MakeRgb(rgba);
    Proc::ReadOnlyPlane const from = rgba.GetReadOnlyPlane(0);
    Proc::WritablePlane const to = result->GetWritablePlane(0);
    for (std::uint32_t y = 0; y < to.rows; ++y) {
        std::uint8_t const* source = RowOf(from.data, from.lineSize, y);
        std::uint8_t* target = RowOf(to.data, to.lineSize, y);
        for (std::uint32_t x = 0; x < to.rowBytes / 3; ++x, source += 4)
            for (int c = 0; c < 3; ++c) {
                int const behind = (x / side + y / side) % 2 == 0 ? light : dark;
                *target++ = static_cast<std::uint8_t>(
                    (source[c] * source[3] + behind * (255 - source[3]) + 127) / 255);
            }
    }
    return result;
}

} // namespace

Size GetShownSize(Proc::IDataVideo const& frame, double scale) {
    auto const info = frame.GetFrameInfo();
    bool const isKnown = info.aspectNum != 0 && info.aspectDen != 0;
    double const aspect = isKnown ? double(info.aspectNum) / info.aspectDen : 1;
    auto const round = [](double side) {
        return static_cast<std::uint32_t>(std::max(1.0, std::round(side)));
    };
    return {round(info.width * aspect * scale), round(info.height * scale)};
}

SP<Proc::IDataVideo> ToRgb(SP<Proc::IDataVideo> const& frame, Size size) {
    auto const info = frame->GetFrameInfo();
    Conf::PixFmt const format = frame->GetPixelFormat();
    if (format == Conf::PixFmt::RGB24 && size == Size{info.width, info.height})
        return frame;
    auto const& description = Conf::PixFmtDescription::Find(format);
    if (description.HasAlpha() || format == Conf::PixFmt::PAL8)
        return BlendOverCheckers(*Convert(*frame, Conf::PixFmt::RGBA, size));
    return Convert(*frame, Conf::PixFmt::RGB24, size);
}

SP<Proc::IDataVideo> DrawSplit(Proc::IDataVideo const& before, Proc::IDataVideo const& after) {
    constexpr Color white{255, 255, 255};
    constexpr Color black{0, 0, 0};
    auto const info = before.GetFrameInfo();
    std::uint32_t const middle = info.width / 2;
    RgbCanvas canvas({info.width, info.height}, black);
    canvas.Draw({}, after);
    Proc::WritablePlane const to = canvas.GetPicture()->GetWritablePlane(0);
    Proc::ReadOnlyPlane const from = before.GetReadOnlyPlane(0);
    for (std::uint32_t y = 0; y < to.rows; ++y)
        std::copy_n(RowOf(from.data, from.lineSize, y), std::size_t{3} * middle,
                    RowOf(to.data, to.lineSize, y));
    if (middle > 0)
        canvas.Fill({middle - 1, 0}, {1, info.height}, black);
    canvas.Fill({middle, 0}, {1, info.height}, white);
    return canvas.GetPicture();
}

Difference Subtract(Proc::IDataVideo const& before, Proc::IDataVideo const& after) {
    constexpr int most = 255;
    constexpr int mostGain = 64;
    Difference result{MakeRgb(before), 1, 0, 0};
    Proc::ReadOnlyPlane const a = before.GetReadOnlyPlane(0);
    Proc::ReadOnlyPlane const b = after.GetReadOnlyPlane(0);
    Proc::WritablePlane const to = result.picture->GetWritablePlane(0);
    double sum = 0;
    for (std::uint32_t y = 0; y < to.rows; ++y)
        for (std::size_t i = 0; i < to.rowBytes; ++i) {
            int const difference =
                std::abs(RowOf(a.data, a.lineSize, y)[i] - RowOf(b.data, b.lineSize, y)[i]);
            RowOf(to.data, to.lineSize, y)[i] = static_cast<std::uint8_t>(difference);
            result.largest = std::max(result.largest, difference);
            sum += difference;
        }
    result.mean = sum / (static_cast<double>(to.rowBytes) * to.rows);
    result.gain = std::min(most / std::max(result.largest, 1), mostGain);
    for (std::uint32_t y = 0; y < to.rows; ++y)
        for (std::uint8_t& value : std::span(RowOf(to.data, to.lineSize, y), to.rowBytes))
            value = static_cast<std::uint8_t>(value * result.gain);
    return result;
}

} // namespace Tarsel::Tools
