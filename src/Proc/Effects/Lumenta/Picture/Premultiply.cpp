#include "Proc/Effects/Lumenta/Picture/Premultiply.h"

#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"
#include "Proc/Effects/Lumenta/Picture/ColorComponents.h"
#include "Proc/Effects/Lumenta/Pixels/AlphaBlend.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;

/// How the pixels of a picture lie, as the kernels tell it.
enum class Layout { Planar, SemiPlanar, Gray, Packed3, PaddingFirst, PaddingLast, PlanarRgb };

constexpr struct {
    PixFmt format;
    Layout layout;
} s_layouts[] = {
    {PixFmt::YUV420P, Layout::Planar},    {PixFmt::YUV422P, Layout::Planar},
    {PixFmt::YUV444P, Layout::Planar},    {PixFmt::YUV410P, Layout::Planar},
    {PixFmt::YUV411P, Layout::Planar},    {PixFmt::YUVJ420P, Layout::Planar},
    {PixFmt::YUVJ422P, Layout::Planar},   {PixFmt::YUVJ444P, Layout::Planar},
    {PixFmt::YUV440P, Layout::Planar},    {PixFmt::YUVJ440P, Layout::Planar},
    {PixFmt::YUVJ411P, Layout::Planar},   {PixFmt::RGB24, Layout::Packed3},
    {PixFmt::BGR24, Layout::Packed3},     {PixFmt::GRAY8, Layout::Gray},
    {PixFmt::NV12, Layout::SemiPlanar},   {PixFmt::NV21, Layout::SemiPlanar},
    {PixFmt::ARGB, Layout::PaddingFirst}, {PixFmt::ABGR, Layout::PaddingFirst},
    {PixFmt::ZRGB, Layout::PaddingFirst}, {PixFmt::ZBGR, Layout::PaddingFirst},
    {PixFmt::RGBA, Layout::PaddingLast},  {PixFmt::BGRA, Layout::PaddingLast},
    {PixFmt::RGBZ, Layout::PaddingLast},  {PixFmt::BGRZ, Layout::PaddingLast},
    {PixFmt::GBRP, Layout::PlanarRgb},
};

Layout const* FindLayout(PixFmt format) noexcept {
    auto const* const found =
        std::ranges::find(s_layouts, format, [](auto const& row) { return row.format; });
    return found != std::end(s_layouts) ? &found->layout : nullptr;
}

/// One plane of a picture for the kernels, with the alpha of its size.
struct Target {
    AVFrame& picture;
    int plane;
    AVFrame const& alpha;

    /// `kernel` with what all of them take first.
    template <class Kernel, class... Background>
    void Blend(Kernel kernel, Background... background) const {
        kernel(picture.data[plane], picture.linesize[plane], alpha.data[0], alpha.linesize[0],
               static_cast<unsigned>(alpha.width), static_cast<unsigned>(alpha.height), background...);
    }
};

} // namespace

bool HasBlendKernel(PixFmt format) noexcept {
    return FindLayout(format) != nullptr;
}

void BlendByKernel(AVFrame const& withAlpha, AVFrame& picture, Conf::PixColor background) {
    auto const& format = DescriptionOf(picture);
    Layout const* const layout = FindLayout(format.GetFormat());
    if (layout == nullptr)
        Core::Throw<EffectException>(fmt::format("Not implemented for '{}' format", format.GetName()));

    background.alpha = 255;
    Conf::PixComponents const k = format.MakeColor(background, GetFrameColorSpace(picture));
    SafeFrame const alpha = MakeAlphaPlane(withAlpha, 0, 0);
    auto const plane = [&](int index) { return Target{picture, index, *alpha}; };
    auto const makeChromaAlpha = [&] {
        return MakeAlphaPlane(withAlpha, format.GetChromaShiftX(), format.GetChromaShiftY());
    };
    switch (*layout) {
    case Layout::Planar: {
        SafeFrame const chromaAlpha = makeChromaAlpha();
        plane(0).Blend(InlpaceMultiplyA, k[0]);
        Target{picture, 1, *chromaAlpha}.Blend(InlpaceMultiplyChromaA, k[1]);
        Target{picture, 2, *chromaAlpha}.Blend(InlpaceMultiplyChromaA, k[2]);
        break;
    }
    case Layout::SemiPlanar: {
        SafeFrame const chromaAlpha = makeChromaAlpha();
        plane(0).Blend(InlpaceMultiplyA, k[0]);
        Target{picture, 1, *chromaAlpha}.Blend(InlpaceMultiplyChromaAB, k[1], k[2]);
        break;
    }
    case Layout::Gray:
        plane(0).Blend(InlpaceMultiplyA, k[0]);
        break;
    case Layout::Packed3:
        plane(0).Blend(InlpaceMultiplyABC, k[0], k[1], k[2]);
        break;
    case Layout::PaddingFirst:
        plane(0).Blend(InlpaceMultiplyABCD, std::uint8_t{255}, k[1], k[2], k[3]);
        break;
    case Layout::PaddingLast:
        plane(0).Blend(InlpaceMultiplyABCD, k[0], k[1], k[2], std::uint8_t{255});
        break;
    case Layout::PlanarRgb:
        plane(0).Blend(InlpaceMultiplyA, k[0]);
        plane(1).Blend(InlpaceMultiplyA, k[1]);
        plane(2).Blend(InlpaceMultiplyA, k[2]);
        break;
    }
}

void BlendByComponent(AVFrame const& withAlpha, AVFrame& picture, Conf::PixColor background) {
    auto const& format = DescriptionOf(picture);
    std::array<float, 4> const colors = ComponentsOfColor(format, background, GetFrameColorSpace(picture));
    for (int i = 0; i < GetColorCount(picture); ++i) {
        bool const isChroma = i > 0;
        AlphaRows alpha(withAlpha, isChroma ? format.GetChromaShiftX() : 0,
                        isChroma ? format.GetChromaShiftY() : 0);
        ComponentPlane const plane(picture, i);
        std::vector<float> values(plane.GetWidth());
        float const color = colors[static_cast<std::size_t>(i)];
        for (std::uint32_t y = 0; y < plane.GetHeight(); ++y) {
            float const* const weights = alpha.GetRow(y);
            plane.ReadRow(y, values.data());
            for (std::size_t x = 0; x < values.size(); ++x)
                values[x] = values[x] * weights[x] + color * (1 - weights[x]);
            plane.WriteRow(y, values.data());
        }
    }
}

} // namespace Tarsel::Proc
