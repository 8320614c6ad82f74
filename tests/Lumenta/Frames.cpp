#include "Frames.h"

#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <random>

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
    for (int plane = 0; plane < Conf::PixFmtDescription::Find(format).GetPlaneCount(); ++plane) {
        Proc::WritablePlane const to = data->GetWritablePlane(plane);
        for (std::uint32_t y = 0; y < to.rows; ++y)
            std::fill_n(to.data + y * to.lineSize, to.rowBytes, std::uint8_t{0xFF});
    }
    return data;
}

Pixels GetPixels(Proc::IDataVideo const& data) {
    Pixels pixels;
    for (int plane = 0; plane < Conf::PixFmtDescription::Find(data.GetPixelFormat()).GetPlaneCount();
         ++plane) {
        Proc::ReadOnlyPlane const from = data.GetReadOnlyPlane(plane);
        auto& bytes = pixels.emplace_back();
        for (std::uint32_t y = 0; y < from.rows; ++y) {
            std::uint8_t const* const row = from.data + y * from.lineSize;
            bytes.insert(bytes.end(), row, row + from.rowBytes);
        }
    }
    return pixels;
}

} // namespace Tarsel::Test
