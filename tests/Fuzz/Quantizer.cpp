// Pictures of any colors to palettes, on all instruction sets: what the plain quantizer makes, and no byte
// beside the rows is touched.

#include "Fuzz/Fuzz.h"
#include "Pixels/PlainColorQuant.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <hwy/targets.h>

extern "C" {
#include <libavutil/frame.h>
}

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    using Bytes = std::vector<std::uint8_t>;
    std::size_t const width = draws.Between(1, draws.OneIn(4) ? 130 : 20);
    std::size_t const height = draws.Between(1, 20);
    unsigned const colors = draws.Between(1, 255);
    bool const dither = draws.OneIn(2);
    bool const isTurned = draws.OneIn(2);
    Conf::PixColor const background{draws.Byte(), draws.Byte(), draws.Byte(), draws.Byte()};
    std::uint32_t const shades = draws.Pick(std::array<std::uint32_t, 4>{2, 4, 64, 256});
    std::uint32_t const alphas = draws.Pick(std::array<std::uint32_t, 4>{1, 1, 3, 256});
    Bytes picture;
    for (std::size_t i = 0; i < 4 * width * height; ++i)
        picture.push_back(static_cast<std::uint8_t>(i % 4 < 3 ? draws.Below(shades) * 255 / (shades - 1)
                                                              : 255 - draws.Below(alphas)));
    auto const plain = Proc::Plain::Quantize(picture, width, colors, dither, background);
    for (std::int64_t const target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        Bytes pixels = picture;
        Bytes indices(width * height);
        Bytes palette(plain.palette.size());
        Proc::SafeFrame in;
        Proc::SafeFrame out;
        auto const place = [&](AVFrame& frame, Bytes& rows, std::size_t rowBytes) {
            frame.data[0] = rows.data() + (isTurned ? (height - 1) * rowBytes : 0);
            frame.linesize[0] = static_cast<int>(rowBytes) * (isTurned ? -1 : 1);
        };
        place(*in, pixels, 4 * width);
        place(*out, indices, width);
        out->data[1] = palette.data();
        auto const topFirst = [&](Bytes rows, std::size_t rowBytes) {
            for (std::size_t y = 0; isTurned && y < height / 2; ++y)
                std::swap_ranges(rows.data() + y * rowBytes, rows.data() + (y + 1) * rowBytes,
                                 rows.data() + (height - 1 - y) * rowBytes);
            return rows;
        };
        pixels = topFirst(std::move(pixels), 4 * width);
        place(*in, pixels, 4 * width);
        Proc::ColorQuant::Process(
            *in, *out, {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), 1, 1},
            static_cast<int>(colors), dither ? 1 : 0, background);
        Fuzz::Require(topFirst(pixels, 4 * width) == plain.pixels && palette == plain.palette &&
                          topFirst(indices, width) == plain.indices,
                      "{} to {} colors of {}x{} differ from the plain ones", hwy::TargetName(target), colors,
                      width, height);
    }
    hwy::SetSupportedTargetsForTest(0);
}
