#include "Conf/PixFmtDescription.h"

#include "Conf/AVFormats.h"
#include "Conf/Color.h"
#include "Conf/ColorMatrix.h"
#include "Core/CoreExceptions.h"
#include "Core/Text.h"
#include "Core/Throw.h"

#include <algorithm>
#include <span>
#include <tuple>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tarsel::Conf {

namespace {

/// What MakeColor puts in a place: one of the color's three components, its alpha, or 0.
enum Source : std::uint8_t { First = 0, Alpha = 3, Nothing = 4 };

constexpr struct {
    PixFmt full;
    PixFmt plain;
} s_fullRangeTwins[] = {
    {PixFmt::YUVJ420P, PixFmt::YUV420P}, {PixFmt::YUVJ422P, PixFmt::YUV422P},
    {PixFmt::YUVJ444P, PixFmt::YUV444P}, {PixFmt::YUVJ440P, PixFmt::YUV440P},
    {PixFmt::YUVJ411P, PixFmt::YUV411P},
};

bool HasFlag(AVPixFmtDescriptor const& descriptor, std::uint64_t flag) noexcept {
    return (descriptor.flags & flag) != 0;
}

std::uint8_t FlagsOf(AVPixFmtDescriptor const& descriptor) noexcept {
    struct {
        std::uint64_t theirs;
        PixFmtDescription::Flags ours;
    } const table[] = {{AV_PIX_FMT_FLAG_PLANAR, PixFmtDescription::Planar},
                       {AV_PIX_FMT_FLAG_RGB, PixFmtDescription::Rgb},
                       {AV_PIX_FMT_FLAG_PAL, PixFmtDescription::Palette},
                       {AV_PIX_FMT_FLAG_ALPHA, PixFmtDescription::Alpha},
                       {AV_PIX_FMT_FLAG_BE, PixFmtDescription::BigEndian},
                       {AV_PIX_FMT_FLAG_FLOAT, PixFmtDescription::Float}};
    unsigned flags = 0;
    for (auto const& row : table)
        if (HasFlag(descriptor, row.theirs))
            flags |= row.ours;
    return static_cast<std::uint8_t>(flags);
}

std::uint8_t DepthOf(AVPixFmtDescriptor const& descriptor) noexcept {
    int depth = 0;
    for (int i = 0; i < descriptor.nb_components; ++i)
        depth = std::max(depth, descriptor.comp[i].depth);
    return static_cast<std::uint8_t>(depth);
}

/// Whether pixels are packed into four bytes of which the three components leave one unused.
bool HasPaddingByte(AVPixFmtDescriptor const& descriptor) noexcept {
    return descriptor.nb_components == 3 && !HasFlag(descriptor, AV_PIX_FMT_FLAG_PLANAR) &&
           std::all_of(descriptor.comp, descriptor.comp + 3,
                       [](auto const& component) { return component.step == 4 && component.depth == 8; });
}

/// Which value of a color each place holds, places being in the order of storage.
std::array<std::uint8_t, 4> SourcesOf(AVPixFmtDescriptor const& descriptor) noexcept {
    std::array<std::uint8_t, 4> sources{Nothing, Nothing, Nothing, Nothing};
    Color::Model const model = Color::ModelOf(descriptor);
    if (model == Color::Model::Palette || model == Color::Model::Xyz)
        return sources;

    // Plane, offset, -shift: the order in memory; then the number of the component.
    std::array<std::tuple<int, int, int, std::uint8_t>, 4> all;
    std::size_t const count = descriptor.nb_components;
    for (std::uint8_t i = 0; i < count; ++i) {
        AVComponentDescriptor const& component = descriptor.comp[i];
        all[i] = {component.plane, component.offset, -component.shift, i};
    }
    std::span const components(all.data(), count);
    std::ranges::sort(components);

    bool const padded = HasPaddingByte(descriptor);
    bool const alphaLast = HasFlag(descriptor, AV_PIX_FMT_FLAG_ALPHA);
    if (padded)
        sources.fill(Alpha);
    std::size_t place = 0;
    for (auto const& [plane, offset, shift, component] : components) {
        std::size_t const slot = padded ? static_cast<std::size_t>(offset) : place++;
        sources[slot] = alphaLast && component + 1U == count ? std::uint8_t{Alpha} : component;
    }
    return sources;
}

bool IsTaken(AVPixFmtDescriptor const& descriptor, AVPixelFormat format) noexcept {
    if (HasFlag(descriptor, AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_BAYER))
        return false;
    // Graphs may give palettes, though the scaler cannot write them.
    return sws_isSupportedInput(format) != 0 &&
           (format == AV_PIX_FMT_PAL8 || sws_isSupportedOutput(format) != 0);
}

constexpr bool IsChromaPlane(int plane) noexcept {
    return plane == 1 || plane == 2;
}

/// `size` over 2 to the power of `shift`, rounded up.
constexpr std::uint32_t Subsampled(std::uint32_t size, int shift) noexcept {
    return static_cast<std::uint32_t>((std::uint64_t{size} + (1U << shift) - 1) >> shift);
}

} // namespace

/// The descriptions of all formats, at their numbers.
struct PixFmtDescriptionTable {
    /// In a function, so that the constructors of other static objects may use it.
    static PixFmtDescriptionTable const& Get() {
        static PixFmtDescriptionTable const s_table;
        return s_table;
    }

    PixFmtDescription const* Find(PixFmt format) const noexcept {
        auto const index = static_cast<std::size_t>(format);
        if (index >= rows.size() || rows[index].m_format != format)
            return nullptr;
        return &rows[index];
    }

    std::vector<PixFmt> Supported() const {
        std::vector<PixFmt> formats;
        for (PixFmtDescription const& row : rows)
            if (row.m_supported)
                formats.push_back(row.m_format);
        return formats;
    }

    std::vector<PixFmtDescription> rows;

private:
    PixFmtDescriptionTable() {
        for (AVPixFmtDescriptor const* descriptor = av_pix_fmt_desc_next(nullptr); descriptor != nullptr;
             descriptor = av_pix_fmt_desc_next(descriptor))
            Add(*descriptor, av_pix_fmt_desc_get_id(descriptor));
    }

    void Add(AVPixFmtDescriptor const& descriptor, AVPixelFormat format) {
        while (rows.size() <= static_cast<std::size_t>(format))
            rows.push_back(PixFmtDescription());
        PixFmtDescription& row = rows[static_cast<std::size_t>(format)];
        row.m_format = static_cast<PixFmt>(format);
        row.m_name = descriptor.name;
        row.m_flags = FlagsOf(descriptor);
        row.m_depth = DepthOf(descriptor);
        row.m_planes = static_cast<std::uint8_t>(std::max(av_pix_fmt_count_planes(format), 0));
        row.m_shiftX = descriptor.log2_chroma_w;
        row.m_shiftY = descriptor.log2_chroma_h;
        row.m_sources = SourcesOf(descriptor);
        row.m_isGray = Color::ModelOf(descriptor) == Color::Model::Gray;
        row.m_alwaysFull = row.IsRgb() || WithoutFixedRange(row.m_format) != row.m_format;
        row.m_supported = IsTaken(descriptor, format);
    }
};

// Before all other static objects of the library, which may read it.
[[gnu::init_priority(101)]] std::vector<PixFmt> const PixFmtDescription::s_supportedFormats =
    PixFmtDescriptionTable::Get().Supported();

std::uint32_t PixFmtDescription::GetPlanWidth(int plane, std::uint32_t width) const noexcept {
    return IsChromaPlane(plane) ? Subsampled(width, m_shiftX) : width;
}

std::uint32_t PixFmtDescription::GetPlanHeight(int plane, std::uint32_t height) const noexcept {
    return IsChromaPlane(plane) ? Subsampled(height, m_shiftY) : height;
}

bool PixFmtDescription::IsFullRange(ColorSpace const& space) const noexcept {
    if (m_alwaysFull || space.range == AVCOL_RANGE_JPEG)
        return true;
    // Gray, unless it is stated otherwise: what FFmpeg's scaler takes for granted.
    return m_isGray && space.range != AVCOL_RANGE_MPEG;
}

PixComponents PixFmtDescription::MakeColor(PixColor color, ColorSpace const& space) const noexcept {
    std::array<std::uint8_t, 3> const components = IsRgb()
                                                       ? std::array{color.red, color.green, color.blue}
                                                       : YuvOfColor(color, space.matrix, IsFullRange(space));
    std::array<std::uint8_t, 5> const values{components[0], components[1], components[2], color.alpha, 0};
    PixComponents places{};
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i] = values[m_sources[i]];
    return places;
}

PixFmtDescription const& PixFmtDescription::Find(PixFmt format) {
    PixFmtDescription const* const description = PixFmtDescriptionTable::Get().Find(format);
    if (description == nullptr)
        Core::Throw<Core::CoreException>("Unknown pixel format " +
                                         std::to_string(static_cast<std::int32_t>(format)));
    return *description;
}

std::optional<PixFmt> PixFmtDescription::FindByName(std::string_view name) noexcept {
    for (PixFmtDescription const& row : PixFmtDescriptionTable::Get().rows)
        if (row.m_name == name && row.m_format != PixFmt::None)
            return row.m_format;
    return std::nullopt;
}

bool PixFmtDescription::IsSupported(PixFmt format) noexcept {
    PixFmtDescription const* const description = PixFmtDescriptionTable::Get().Find(format);
    return description != nullptr && description->m_supported;
}

PixFmtDescription const& GetPixelFormatDescription(PixFmt format) {
    return PixFmtDescription::Find(format);
}

PixFmt WithoutFixedRange(PixFmt format) noexcept {
    for (auto const& twins : s_fullRangeTwins)
        if (twins.full == format)
            return twins.plain;
    return format;
}

PixFmt WithFullRange(PixFmt format) noexcept {
    for (auto const& twins : s_fullRangeTwins)
        if (twins.plain == format)
            return twins.full;
    return format;
}

std::string GetLossText(int loss) {
    constexpr struct {
        int bit;
        std::string_view text;
    } names[] = {{FF_LOSS_ALPHA, "alpha"},
                 {FF_LOSS_DEPTH, "depth"},
                 {FF_LOSS_RESOLUTION, "chroma resolution"},
                 {FF_LOSS_CHROMA, "color"},
                 {FF_LOSS_COLORSPACE, "color space"},
                 {FF_LOSS_COLORQUANT, "colors beyond the palette"}};
    std::vector<std::string_view> lost;
    for (auto const& row : names)
        if ((loss & row.bit) != 0)
            lost.push_back(row.text);
    return Core::Utils::ToString(lost, ", ", [](std::string_view text) { return text; });
}

PixFmt FindBestPixelFormatOfList(std::vector<PixFmt> const& list, PixFmt format, bool withAlpha, int* loss) {
    auto best = AV_PIX_FMT_NONE;
    int bestLoss = 0;
    for (PixFmt const candidate : list) {
        bestLoss = 0; // on the way in: losses that do not matter
        best = av_find_best_pix_fmt_of_2(best, ToAVPixelFormat(candidate), ToAVPixelFormat(format),
                                         withAlpha ? 1 : 0, &bestLoss);
    }
    if (loss != nullptr)
        *loss = bestLoss;
    return static_cast<PixFmt>(best);
}

} // namespace Tarsel::Conf
