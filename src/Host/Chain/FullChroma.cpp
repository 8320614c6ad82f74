#include "Host/Chain/FullChroma.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Tarsel::Host {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Proc::ReadOnlyPlane;
using Proc::WritablePlane;

/// Three planes of YUV, and perhaps one of alpha, of 8 or 16 bits a sample.
bool IsPlanarYuv(PixFmtDescription const& format) {
    constexpr int unfit = PixFmtDescription::Float |
                          (std::endian::native == std::endian::little ? PixFmtDescription::BigEndian : 0);
    return Conf::Color::ModelOf(format.GetFormat()) == Conf::Color::Model::Yuv &&
           Conf::Color::HasPlanePerComponent(format.GetFormat()) && (format.GetFlags() & unfit) == 0 &&
           format.GetDepth() <= 16;
}

bool IsSubsampled(PixFmtDescription const& format) {
    return format.GetChromaShiftX() > 0 || format.GetChromaShiftY() > 0;
}

/// The same depth, alpha and kind of range.
bool IsLike(PixFmtDescription const& a, PixFmtDescription const& b) {
    return a.GetDepth() == b.GetDepth() && a.HasAlpha() == b.HasAlpha() &&
           a.IsFullRange({}) == b.IsFullRange({});
}

/// The first planar format that is like this one and has chroma of these shifts; None without one.
PixFmt FindPlanar(PixFmtDescription const& like, int shiftX, int shiftY) {
    auto const found = std::ranges::find_if(PixFmtDescription::s_supportedFormats, [&](PixFmt each) {
        PixFmtDescription const& format = PixFmtDescription::Find(each);
        return IsPlanarYuv(format) && IsLike(format, like) && format.GetChromaShiftX() == shiftX &&
               format.GetChromaShiftY() == shiftY;
    });
    return found != PixFmtDescription::s_supportedFormats.end() ? *found : PixFmt::None;
}

template <class Sample>
Sample Load(ReadOnlyPlane const& plane, std::uint32_t x, std::uint32_t y) {
    Sample sample;
    std::memcpy(&sample, plane.data + static_cast<std::ptrdiff_t>(y) * plane.lineSize + x * sizeof(Sample),
                sizeof(Sample));
    return sample;
}

template <class Sample>
void Store(WritablePlane const& plane, std::uint32_t x, std::uint32_t y, Sample sample) {
    std::memcpy(plane.data + static_cast<std::ptrdiff_t>(y) * plane.lineSize + x * sizeof(Sample), &sample,
                sizeof(Sample));
}

template <class Sample>
void Spread(ReadOnlyPlane const& from, WritablePlane const& to, int shiftX, int shiftY) {
    auto const width = static_cast<std::uint32_t>(to.rowBytes / sizeof(Sample));
    for (std::uint32_t y = 0; y < to.rows; ++y)
        for (std::uint32_t x = 0; x < width; ++x)
            Store(to, x, y, Load<Sample>(from, x >> shiftX, y >> shiftY));
}

template <class Sample>
void Gather(ReadOnlyPlane const& from, WritablePlane const& to, int shiftX, int shiftY) {
    auto const width = static_cast<std::uint32_t>(from.rowBytes / sizeof(Sample));
    auto const columns = static_cast<std::uint32_t>(to.rowBytes / sizeof(Sample));
    for (std::uint32_t row = 0; row < to.rows; ++row)
        for (std::uint32_t column = 0; column < columns; ++column) {
            // At the right and below there may be fewer.
            std::uint32_t const right = std::min((column + 1) << shiftX, width);
            std::uint32_t const bottom = std::min((row + 1) << shiftY, from.rows);
            std::uint32_t sum = 0;
            std::uint32_t count = 0;
            for (std::uint32_t y = row << shiftY; y < bottom; ++y)
                for (std::uint32_t x = column << shiftX; x < right; ++x, ++count)
                    sum += Load<Sample>(from, x, y);
            Store(to, column, row, static_cast<Sample>((sum + count / 2) / count));
        }
}

/// A picture of `format` with the chroma that `work` makes of planes of 8 or 16 bits.
template <class Work>
SP<Proc::DataVideoFF> Resample(Proc::IDataVideo const& frame, PixFmt format, Work const& work) {
    SP<Proc::DataVideoFF> result =
        Proc::DataVideoFF::CreateLike(frame, frame.GetColorSpace(), format, frame.GetFrameInfo());
    int const planes = PixFmtDescription::Find(format).GetPlaneCount();
    for (int plane = 0; plane < planes; ++plane) {
        ReadOnlyPlane const from = frame.GetReadOnlyPlane(plane);
        WritablePlane const to = result->GetWritablePlane(plane);
        bool const isChroma = plane == 1 || plane == 2;
        if (isChroma)
            work(from, to);
        else
            Proc::CopyPlane(from, to);
    }
    return result;
}

} // namespace

std::optional<ChromaPair> FindChromaPair(PixFmt format) {
    PixFmtDescription const& description = PixFmtDescription::Find(format);
    if (!IsSubsampled(description))
        return std::nullopt;
    ChromaPair const pair{IsPlanarYuv(description) ? format
                                                   : FindPlanar(description, description.GetChromaShiftX(),
                                                                description.GetChromaShiftY()),
                          FindPlanar(description, 0, 0)};
    if (pair.subsampled == PixFmt::None || pair.full == PixFmt::None)
        return std::nullopt;
    return pair;
}

SP<Proc::DataVideoFF> SpreadChroma(Proc::IDataVideo const& frame, ChromaPair const& pair) {
    PixFmtDescription const& format = PixFmtDescription::Find(pair.subsampled);
    auto const spread = format.GetDepth() > 8 ? Spread<std::uint16_t> : Spread<std::uint8_t>;
    return Resample(frame, pair.full, [&](ReadOnlyPlane const& from, WritablePlane const& to) {
        spread(from, to, format.GetChromaShiftX(), format.GetChromaShiftY());
    });
}

SP<Proc::DataVideoFF> GatherChroma(Proc::IDataVideo const& frame, ChromaPair const& pair) {
    PixFmtDescription const& format = PixFmtDescription::Find(pair.subsampled);
    auto const gather = format.GetDepth() > 8 ? Gather<std::uint16_t> : Gather<std::uint8_t>;
    return Resample(frame, pair.subsampled, [&](ReadOnlyPlane const& from, WritablePlane const& to) {
        gather(from, to, format.GetChromaShiftX(), format.GetChromaShiftY());
    });
}

} // namespace Tarsel::Host
