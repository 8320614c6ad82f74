#include "Proc/Effects/Lumenta/Picture/ComponentScaler.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"
#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"
#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Wrappers/FrameFields.h"

#include <algorithm>
#include <optional>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

constexpr auto s_gray16 = static_cast<Conf::PixFmt>(AV_PIX_FMT_GRAY16);
/// Full intensity in between. Sharp filters overshoot; were that cut off for alpha alone, colors would
/// shift.
constexpr float s_fullWithAlpha = 49152;
constexpr float s_fullOpaque = 65535;

/// A grid of samples that some components share, with the alpha of its samples before and after, unless all
/// is opaque.
struct Grid {
    StepScaler& scaler;
    int flags;
    bool isOpaque;
    float full;
    SafeFrame before;
    SafeFrame after;

    SafeFrame Scale(AVFrame const& from) const {
        SafeFrame to = MakeLike(*after);
        scaler.Scale({SideOf(from), SideOf(*to), flags}, from, *to);
        return to;
    }
    static SafeFrame MakeLike(AVFrame const& model) {
        return MakePlane(static_cast<std::uint32_t>(model.width), static_cast<std::uint32_t>(model.height));
    }
    static SafeFrame MakePlane(std::uint32_t width, std::uint32_t height) {
        return {{}, s_gray16, width, height, 0, 1};
    }
};

/// log2 of the subsampling of components.
struct Subsampling {
    int x = 0;
    int y = 0;
};

Grid MakeGrid(AVFrame const& from, AVFrame const& to, Subsampling shift, StepScaler& scaler, int flags) {
    AlphaRows rows(from, shift.x, shift.y);
    AlphaRows const target(to, shift.x, shift.y);
    bool const isOpaque = GetColorCount(from) == GetComponentCount(from);
    Grid grid{scaler,
              flags,
              isOpaque,
              isOpaque ? s_fullOpaque : s_fullWithAlpha,
              Grid::MakePlane(rows.GetWidth(), rows.GetHeight()),
              Grid::MakePlane(target.GetWidth(), target.GetHeight())};
    if (isOpaque)
        return grid;
    ComponentPlane const before(*grid.before, 0);
    std::vector<float> values(rows.GetWidth());
    for (std::uint32_t y = 0; y < rows.GetHeight(); ++y) {
        float const* const alpha = rows.GetRow(y);
        std::transform(alpha, alpha + values.size(), values.begin(),
                       [](float value) { return value * s_fullWithAlpha; });
        before.WriteRow(y, values.data());
    }
    grid.after = grid.Scale(*grid.before);
    return grid;
}

void ScaleComponent(Grid const& grid, ComponentPlane const& from, ComponentPlane const& to, float black) {
    SafeFrame weighted = Grid::MakeLike(*grid.before);
    ComponentPlane const product(*weighted, 0);
    ComponentPlane const weightBefore(*grid.before, 0);
    std::vector<float> values(from.GetWidth());
    std::vector<float> weights(from.GetWidth(), grid.full);
    for (std::uint32_t y = 0; y < from.GetHeight(); ++y) {
        from.ReadRow(y, values.data());
        if (!grid.isOpaque)
            weightBefore.ReadRow(y, weights.data());
        for (std::size_t x = 0; x < values.size(); ++x)
            values[x] *= weights[x] / from.GetMaximum();
        product.WriteRow(y, values.data());
    }

    SafeFrame const scaled = grid.Scale(*weighted);
    ComponentPlane const scaledProduct(*scaled, 0);
    ComponentPlane const weightAfter(*grid.after, 0);
    values.resize(to.GetWidth());
    weights.assign(to.GetWidth(), grid.full);
    for (std::uint32_t y = 0; y < to.GetHeight(); ++y) {
        scaledProduct.ReadRow(y, values.data());
        if (!grid.isOpaque)
            weightAfter.ReadRow(y, weights.data());
        for (std::size_t x = 0; x < values.size(); ++x)
            values[x] = weights[x] > 0 ? std::min(values[x] / weights[x], 1.0F) * to.GetMaximum() : black;
        to.WriteRow(y, values.data());
    }
}

void WriteAlpha(AVFrame const& gray, ComponentPlane const& to) {
    ComponentPlane const from(gray, 0);
    std::vector<float> values(to.GetWidth());
    for (std::uint32_t y = 0; y < to.GetHeight(); ++y) {
        from.ReadRow(y, values.data());
        for (float& value : values)
            value = std::min(value / s_fullWithAlpha, 1.0F) * to.GetMaximum();
        to.WriteRow(y, values.data());
    }
}

} // namespace

void ComponentScaler::Scale(AVFrame const& from, AVFrame& to, int flags) {
    auto const& format = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(from.format));
    int const colors = GetColorCount(from);
    std::array<float, 4> const black = ComponentsOfColor(format, {0, 0, 0}, GetFrameColorSpace(from));
    FillPadding(to);
    Grid const pixels = MakeGrid(from, to, {}, m_pixels, flags);
    ScaleComponent(pixels, {from, 0}, {to, 0}, black[0]);
    std::optional<Grid> subsampled;
    if (colors > 1 && format.GetChromaShiftX() + format.GetChromaShiftY() > 0)
        subsampled.emplace(
            MakeGrid(from, to, {format.GetChromaShiftX(), format.GetChromaShiftY()}, m_chroma, flags));
    for (int i = 1; i < colors; ++i)
        ScaleComponent(subsampled ? *subsampled : pixels, {from, i}, {to, i},
                       black[static_cast<std::size_t>(i)]);
    if (format.HasAlpha())
        WriteAlpha(*pixels.after, {to, colors});
}

void ComponentScaler::Drop() noexcept {
    m_pixels.Drop();
    m_chroma.Drop();
}

} // namespace Tarsel::Proc
