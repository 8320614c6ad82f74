#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"

#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <array>
#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Proc {
namespace {

constexpr std::uint32_t Subsampled(std::uint32_t size, int shift) noexcept {
    return (size + (1U << shift) - 1) >> shift;
}

bool HasAlpha(AVFrame const& frame) {
    return Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format)).HasAlpha();
}

} // namespace

AlphaRows::AlphaRows(AVFrame const& frame, int shiftX, int shiftY)
    : m_pixelRows(static_cast<std::uint32_t>(frame.height)), m_shiftX(shiftX), m_shiftY(shiftY),
      m_width(Subsampled(static_cast<std::uint32_t>(frame.width), shiftX)),
      m_height(Subsampled(m_pixelRows, shiftY)), m_pixels(static_cast<std::size_t>(frame.width)),
      m_row(m_width, 1.0F) {
    if (HasAlpha(frame))
        m_alpha.emplace(frame, GetColorCount(frame));
}

float const* AlphaRows::GetRow(std::uint32_t y) {
    if (!m_alpha)
        return m_row.data();
    std::uint32_t const top = y << m_shiftY;
    std::uint32_t const bottom = std::min(top + (1U << m_shiftY), m_pixelRows);
    std::ranges::fill(m_row, 0.0F);
    for (std::uint32_t row = top; row < bottom; ++row) {
        m_alpha->ReadRow(row, m_pixels.data());
        for (std::uint32_t x = 0; x < m_pixels.size(); ++x)
            m_row[x >> m_shiftX] += m_pixels[x];
    }
    // The last sample of a row may cover fewer pixels than the others.
    auto const pixels = static_cast<std::uint32_t>(m_pixels.size());
    for (std::uint32_t x = 0; x < m_width; ++x) {
        std::uint32_t const columns = std::min(1U << m_shiftX, pixels - (x << m_shiftX));
        float const full = static_cast<float>(columns * (bottom - top)) * m_alpha->GetMaximum();
        // In this order NaN becomes 0.
        m_row[x] = std::min(std::max(0.0F, m_row[x] / full), 1.0F);
    }
    return m_row.data();
}

namespace {

/// All rows, in the units of the plane, which has the size of their grid.
void WriteScaled(AlphaRows& rows, ComponentPlane const& plane) {
    std::vector<float> values(rows.GetWidth());
    for (std::uint32_t y = 0; y < rows.GetHeight(); ++y) {
        float const* const alpha = rows.GetRow(y);
        std::transform(alpha, alpha + values.size(), values.begin(),
                       [full = plane.GetMaximum()](float value) { return value * full; });
        plane.WriteRow(y, values.data());
    }
}

} // namespace

SafeFrame MakeAlphaPlane(AVFrame const& frame, int shiftX, int shiftY) {
    AlphaRows rows(frame, shiftX, shiftY);
    SafeFrame plane({}, Conf::PixFmt::GRAY8, rows.GetWidth(), rows.GetHeight(), 0, 1);
    WriteScaled(rows, {*plane, 0});
    return plane;
}

void CopyAlpha(AVFrame const& from, AVFrame& to) {
    if (!HasAlpha(to))
        return;
    AlphaRows rows(from, 0, 0);
    WriteScaled(rows, {to, GetColorCount(to)});
}

namespace {

/// The alpha of each pixel of a picture with a palette, as 8-bit gray.
SafeFrame MakePaletteAlpha(AVFrame const& frame) {
    std::array<std::uint32_t, AVPALETTE_COUNT> colors{};
    std::memcpy(colors.data(), frame.data[1], AVPALETTE_SIZE);
    SafeFrame gray({}, Conf::PixFmt::GRAY8, static_cast<std::uint32_t>(frame.width),
                   static_cast<std::uint32_t>(frame.height), 0, 1);
    for (int y = 0; y < frame.height; ++y)
        std::transform(frame.data[0] + y * frame.linesize[0],
                       frame.data[0] + y * frame.linesize[0] + frame.width,
                       gray->data[0] + y * gray->linesize[0],
                       [&](std::uint8_t index) { return static_cast<std::uint8_t>(colors[index] >> 24); });
    return gray;
}

bool HasPalette(Conf::PixFmtDescription const& format) {
    return (format.GetFlags() & Conf::PixFmtDescription::Palette) != 0;
}

} // namespace

void PutAlpha(IDataVideo const& input, IDataVideo& data) {
    auto const& from = Conf::PixFmtDescription::Find(input.GetPixelFormat());
    auto const& to = Conf::PixFmtDescription::Find(data.GetPixelFormat());
    Conf::FrameInfo const info = data.GetFrameInfo();
    Conf::FrameInfo const inputInfo = input.GetFrameInfo();
    if (!from.HasAlpha() || !to.HasAlpha() || HasPalette(to) || inputInfo.width != info.width ||
        inputInfo.height != info.height)
        return;
    constexpr int alphaPlane = 3; // where every component has its own
    if (&from == &to && from.GetPlaneCount() > alphaPlane) {
        CopyPlane(input.GetReadOnlyPlane(alphaPlane), data.GetWritablePlane(alphaPlane));
        return;
    }
    // The frame may be larger than what counts of it.
    SafeFrame view = SafeFrame::Reference(Details::GetAVFrameRef(input.GetAVFrame()));
    view->width = static_cast<int>(info.width);
    view->height = static_cast<int>(info.height);
    if (HasPalette(from))
        view = MakePaletteAlpha(*view);
    data.GetWritablePlane(0); // so that the frame is nobody else's
    AVFrame const& target = Details::GetAVFrameRef(data.GetAVFrame());
    CopyComponent({*view, HasPalette(from) ? 0 : GetColorCount(*view)}, {target, GetColorCount(target)});
}

} // namespace Tarsel::Proc
