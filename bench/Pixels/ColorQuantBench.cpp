// The quantizer beside the plain one of its tests: "plain_x" tells how many times as fast it was; "same",
// that both gave the same picture.

#include "BestTime.h"
#include "Pixels/PlainColorQuant.h"
#include "QuantizerRun.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <span>
#include <vector>

namespace Tarsel::Proc {
namespace {

/// Leaves of the octree.
std::size_t CountCells(std::vector<std::uint8_t> const& picture) {
    std::set<std::uint32_t> cells;
    for (std::size_t i = 0; i < picture.size(); i += 4)
        cells.insert(picture[i] / 2u << 14 | picture[i + 1] / 2u << 7 | picture[i + 2] / 2u);
    return cells.size();
}

void Quantize(benchmark::State& state, PictureKind kind, unsigned texture, bool dither) {
    QuantizerRun run(kind, texture);
    std::vector<std::uint8_t> const picture = run.picture;
    Plain::Quantized made;
    BestTime fast;
    BestTime plain;
    for (auto _ : state) {
        fast.Time([&] { run.Quantize(dither); });
        plain.Time([&] { made = Plain::Quantize(picture, s_width, s_colors, dither, {}); });
        state.SetIterationTime(fast.Get());
    }
    state.counters["plain_x"] = plain.Get() / fast.Get();
    state.counters["cells"] = static_cast<double>(CountCells(run.picture));
    state.counters["same"] =
        run.indices == made.indices &&
                std::ranges::equal(made.palette, std::span(run.palette).first(made.palette.size()))
            ? 1
            : 0;
}

BENCHMARK_CAPTURE(Quantize, photo, PictureKind::Photo, 9u, false)->Apply(SetTurns);
BENCHMARK_CAPTURE(Quantize, photo_dithered, PictureKind::Photo, 9u, true)->Apply(SetTurns);
BENCHMARK_CAPTURE(Quantize, smooth_photo, PictureKind::Photo, 2u, false)->Apply(SetTurns);
BENCHMARK_CAPTURE(Quantize, drawing, PictureKind::Drawing, 0u, false)->Apply(SetTurns);

} // namespace
} // namespace Tarsel::Proc
