#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixColor.h"
#include "Conf/PixFmt.h"
#include "Core/Api.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Conf {

/// What is known of a pixel format; read once from FFmpeg's own descriptors. Immutable; any thread.
class TARSEL_API PixFmtDescription {
public:
    /// Bits of GetFlags().
    enum Flags : std::uint8_t { Planar = 1, Rgb = 2, Palette = 4, Alpha = 8, BigEndian = 16, Float = 32 };

    PixFmt GetFormat() const noexcept { return m_format; }
    std::string const& GetName() const noexcept { return m_name; }
    std::uint8_t GetFlags() const noexcept { return m_flags; }
    bool HasAlpha() const noexcept { return (m_flags & Alpha) != 0; }
    bool IsRgb() const noexcept { return (m_flags & Rgb) != 0; }
    /// Luma and no color, with or without alpha; a palette is none.
    bool IsGray() const noexcept { return m_isGray; }
    /// Bits of the deepest component, 1 to 32; 0 for formats of hardware surfaces.
    int GetDepth() const noexcept { return m_depth; }
    /// Memory planes, 1 to 4; a palette does not count. 0 for formats of hardware surfaces.
    int GetPlaneCount() const noexcept { return m_planes; }
    /// log2 of the subsampling of chroma; 0 where there is none.
    int GetChromaShiftX() const noexcept { return m_shiftX; }
    int GetChromaShiftY() const noexcept { return m_shiftY; }
    /// Size in pixels of plane `plane` of a frame `width` by `height`, rounded up where chroma is subsampled.
    std::uint32_t GetPlanWidth(int plane, std::uint32_t width) const noexcept;
    std::uint32_t GetPlanHeight(int plane, std::uint32_t height) const noexcept;

    /// Whether values use all of their range: always so for RGB and the "j" formats, gray unless `space` says
    /// limited, others only where it says full.
    bool IsFullRange(ColorSpace const& space) const noexcept;
    /// `color` as 8-bit component values of this format, in the order of storage: by plane, then by place in
    /// memory (Y, U, V, A for planar YUV; Y, V, U for NV21; G, B, R, A for planar RGB). A padding byte of
    /// packed RGB has a place of its own and holds the alpha; places left over hold 0, and so do all places
    /// of palette and XYZ formats, which have no such values. YUV by the matrix of `space`, BT.601 where that
    /// is unspecified or not known to the scaler, and by IsFullRange(space). Formats deeper than 8 bits get
    /// the value for 8 bits. Source: ITU-T H.273, 8.3.
    PixComponents MakeColor(PixColor color, ColorSpace const& space = {}) const noexcept;

    /// The description; throws CoreException naming the number when FFmpeg knows no such format.
    static PixFmtDescription const& Find(PixFmt format);
    /// The format of that FFmpeg name ("yuv420p"), or nothing.
    static std::optional<PixFmt> FindByName(std::string_view name) noexcept;
    /// Whether this host can take frames of the format: in software, whole bytes, read and written by the
    /// scaler. PAL8 counts too, though the scaler only reads it.
    static bool IsSupported(PixFmt format) noexcept;
    /// All formats for which IsSupported holds, in ascending order.
    static std::vector<PixFmt> const s_supportedFormats;

private:
    friend struct PixFmtDescriptionTable;
    PixFmtDescription() = default;

    PixFmt m_format = PixFmt::None;
    std::string m_name;
    std::uint8_t m_flags = 0;
    std::uint8_t m_depth = 0;
    std::uint8_t m_planes = 0;
    std::uint8_t m_shiftX = 0;
    std::uint8_t m_shiftY = 0;
    /// Which value of a color each component place holds.
    std::array<std::uint8_t, 4> m_sources{};
    bool m_isGray = false;
    bool m_alwaysFull = false;
    bool m_supported = false;
};

/// The same as PixFmtDescription::Find.
TARSEL_API PixFmtDescription const& GetPixelFormatDescription(PixFmt format);

/// The "j" formats, made for full range alone, each have a twin whose range is stated beside it: YUV420P of
/// YUVJ420P. These give a format's twin of either kind; formats without one are given back. Any thread.
TARSEL_API PixFmt WithoutFixedRange(PixFmt format) noexcept;
TARSEL_API PixFmt WithFullRange(PixFmt format) noexcept;

/// What FF_LOSS_* bits say, for people: "alpha, chroma resolution"; empty for none. Any thread.
TARSEL_API std::string GetLossText(int loss);

/// The format of `list` that loses least of `format`. `withAlpha` false: alpha may go without counting as a
/// loss. Writes FFmpeg's FF_LOSS_* bits to `loss` when it is not null. An empty list gives PixFmt::None.
/// Source: FFmpeg's av_find_best_pix_fmt_of_2. Any thread.
TARSEL_API PixFmt FindBestPixelFormatOfList(std::vector<PixFmt> const& list, PixFmt format, bool withAlpha,
                                            int* loss);

} // namespace Tarsel::Conf
