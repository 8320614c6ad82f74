#include "Pixels/KernelCases.h"

#include "Conf/PixFmtDescription.h"
#include "Pixels/FilterRun.h"
#include "Proc/Effects/Lumenta/Kernels/BalanceChroma.h"
#include "Proc/Effects/Lumenta/Kernels/EdgeDetect.h"
#include "Proc/Effects/Lumenta/Kernels/Emboss.h"
#include "Proc/Effects/Lumenta/Kernels/WaveletDenoise.h"
#include "Support/Planes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;
using Random = std::mt19937;

int Between(Random& random, int first, int last) {
    return std::uniform_int_distribution(first, last)(random);
}

Proc::PlaneView From(AVFrame const& frame, int plane) {
    return {frame.data[plane], frame.linesize[plane]};
}

Proc::MutablePlane To(AVFrame& frame, int plane) {
    return {frame.data[plane], frame.linesize[plane]};
}

struct Size {
    std::size_t width;
    std::size_t height;
};

Size SizeOf(AVFrame const& frame, int plane) {
    auto const& pixels = PixFmtDescription::Find(static_cast<PixFmt>(frame.format));
    return {pixels.GetPlanWidth(plane, static_cast<std::uint32_t>(frame.width)),
            pixels.GetPlanHeight(plane, static_cast<std::uint32_t>(frame.height))};
}

void CopyPlane(AVFrame const& from, AVFrame& to, int plane) {
    Size const size = SizeOf(from, plane);
    for (std::size_t y = 0; y < size.height; ++y)
        std::memcpy(To(to, plane).Row(y), From(from, plane).Row(y), size.width);
}

/// Whether frames of YUV that become gray are told to be of full range, by the filter in front.
struct Range {
    bool isFull;
    char const* filter;
};

Range DrawRange(Random& random, PixFmt format, bool toGray) {
    bool const isFull = toGray && Between(random, 0, 3) == 0;
    return {isFull || PixFmtDescription::Find(format).IsFullRange({}), isFull ? "setparams=range=pc," : ""};
}

std::string EmbossOffset(int offset) {
    return (offset > 0 ? "+" : "-") + std::to_string(offset);
}

/// Whether the linked filter reads the last row and column: of a black square that ends in a white pixel.
std::size_t CountUnread() {
    Proc::SafeFrame square({}, PixFmt::GRAY8, 2, 2, 1, 1);
    FillPlane(*square, 0, 0);
    square->data[0][square->linesize[0] + 1] = 255;
    Proc::SafeFrame const read = FilterRun("geq=lum_expr='p(X,Y)'", *square)(*square);
    return read->data[0][read->linesize[0] + 1] == 255 ? 0 : 1;
}

std::optional<KernelTrial> DrawEmboss(Random& random, PixFmt format, int width, int height) {
    static std::size_t const s_unread = CountUnread();
    bool const toGray = Between(random, 0, 1) == 0;
    if (!Proc::CoversEmboss(format, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                            toGray, s_unread))
        return std::nullopt;
    Range const range = DrawRange(random, format, toGray);
    int const most = Between(random, 0, 3) == 0 ? 16384 : 9;
    int const right = Between(random, -most, most);
    int const below = Between(random, -most, most);
    auto const run = [=](AVFrame const& from, AVFrame& to) {
        auto const& pixels = PixFmtDescription::Find(format);
        auto kind = pixels.GetDepth() > 8 ? Proc::EmbossKind::Words : Proc::EmbossKind::Bytes;
        if (toGray && !range.isFull)
            kind = Proc::EmbossKind::StretchedBytes;
        for (int plane = 0; plane < (toGray || pixels.IsGray() ? 1 : 3); ++plane) {
            Size const size = SizeOf(from, plane);
            Proc::EmbossPlane(kind, {From(from, plane), To(to, plane), size.width, size.height,
                                     static_cast<std::size_t>(std::abs(right)),
                                     static_cast<std::size_t>(std::abs(below)), s_unread});
        }
        if (to.data[3] != nullptr) // The alpha that comes of no expression.
            FillPlane(to, 3, 0);
    };
    return KernelTrial{std::string(range.filter) + "geq=lum_expr='(p(X,Y)+(256-p(X" + EmbossOffset(right) +
                           ",Y" + EmbossOffset(below) + ")))/2'" + (toGray ? ",format=gray" : ""),
                       toGray ? PixFmt::GRAY8 : format, run};
}

/// A number of six digits, some of which are below the point.
std::string DrawNumber(Random& random, double first, double last) {
    return std::to_string(std::uniform_real_distribution(first, last)(random)).substr(0, 7);
}

std::optional<KernelTrial> DrawWaveletDenoise(Random& random, PixFmt format, int, int) {
    if (!Proc::CoversWaveletDenoise(format))
        return std::nullopt;
    int const depth = Between(random, 0, 2) == 0 ? Between(random, 8, 16) : 8;
    double const most = Between(random, 0, 1) == 0 ? 1000 : 20;
    std::string const luma = DrawNumber(random, 0.001, most);
    std::string const chroma = DrawNumber(random, 0.001, most);
    auto const denoiser = std::make_shared<Proc::WaveletDenoiser>();
    auto const run = [=](AVFrame const& from, AVFrame& to) {
        bool const isDeep = PixFmtDescription::Find(format).GetDepth() > 8;
        for (int plane = 0; plane < 3; ++plane) {
            Size const size = SizeOf(from, plane);
            denoiser->Denoise({From(from, plane), To(to, plane), size.width, size.height, isDeep}, depth,
                              std::stod(plane == 0 ? luma : chroma));
        }
        if (to.data[3] != nullptr)
            CopyPlane(from, to, 3);
    };
    return KernelTrial{"owdenoise=" + std::to_string(depth) + ":ls=" + luma + ":cs=" + chroma, format, run};
}

/// 0 to 1, often one of both, in hundredths.
std::string DrawShare(Random& random) {
    int const hundredths = std::clamp(Between(random, -15, 115), 0, 100);
    return std::to_string(hundredths / 100) + '.' + std::to_string(hundredths / 10 % 10) +
           std::to_string(hundredths % 10);
}

std::optional<KernelTrial> DrawEdgeDetect(Random& random, PixFmt format, int width, int height) {
    bool const mix = Between(random, 0, 1) == 0;
    if (!Proc::CoversEdgeDetect(format, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                                mix))
        return std::nullopt;
    bool const isRgb = PixFmtDescription::Find(format).IsRgb();
    Range const range = DrawRange(random, format, !mix);
    auto const kind =
        mix ? Proc::EdgeKind::Mix : (range.isFull ? Proc::EdgeKind::Wires : Proc::EdgeKind::StretchedWires);
    std::string low = DrawShare(random);
    std::string high = DrawShare(random);
    if (low > high)
        std::swap(low, high);
    auto const detector = std::make_shared<Proc::EdgeDetector>();
    auto const run = [=](AVFrame const& from, AVFrame& to) {
        for (int plane = 0; plane < (isRgb ? 3 : 1); ++plane) {
            Size const size = SizeOf(from, plane);
            detector->Detect(kind, {From(from, plane), To(to, plane), size.width, size.height},
                             std::stod(low), std::stod(high));
        }
    };
    return KernelTrial{std::string(range.filter) + "edgedetect=low=" + low + ":high=" + high +
                           (mix ? ":mode=colormix" : ":mode=wires"),
                       isRgb ? format : PixFmt::GRAY8, run};
}

std::optional<KernelTrial> DrawBalanceChroma(Random& random, PixFmt format, int, int) {
    if (!Proc::CoversBalanceChroma(format))
        return std::nullopt;
    Proc::ChromaBalance balance;
    std::string text = "colorbalance=";
    auto const draw = [&](char const* keys, std::array<float, 3>& shifts) {
        for (std::size_t i = 0; i < shifts.size(); ++i) {
            int const hundredths = Between(random, 0, 2) == 0 ? 0 : Between(random, -100, 100);
            std::string const value = std::to_string(hundredths / 100.0);
            text += std::string{"rgb"[i]} + keys + '=' + value + ':';
            shifts[i] = std::stof(value);
        }
    };
    draw("s", balance.shadows);
    draw("m", balance.midtones);
    draw("h", balance.highlights);
    auto const run = [=](AVFrame const& from, AVFrame& to) {
        Proc::BalancedPicture picture{format, {}, {}, {}, {}, SizeOf(from, 0).width, SizeOf(from, 0).height};
        for (std::size_t i = 0; i < 4; ++i) {
            picture.from[i] = from.data[i];
            picture.fromStrides[i] = from.linesize[i];
            picture.to[i] = to.data[i];
            picture.toStrides[i] = to.linesize[i];
        }
        Proc::BalanceChroma(picture, balance);
    };
    return KernelTrial{text, format, run};
}

} // namespace

std::vector<KernelCase> KernelCases() {
    return {{"emboss", DrawEmboss},
            {"denoise_wavelet", DrawWaveletDenoise},
            {"edge_detect", DrawEdgeDetect},
            {"balance_chroma", DrawBalanceChroma}};
}

} // namespace Tarsel::Test
