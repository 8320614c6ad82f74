// Effects of the plug-in on pictures of 1920x1080, as a host runs them: one frame in, one out, on one thread.

#include "Core/ThreadBudget.h"
#include "Host/EffectFactory.h"
#include "Host/EffectStep.h"
#include "Host/Plugin.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/FiltersOnly.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Tarsel {
namespace {

constexpr Conf::FrameInfo s_size{1920, 1080, 1, 1};

Host::EffectFactory& GetFactory() {
    static SP<Host::EffectFactory> const s_factory = [] {
        auto const registry = std::make_shared<Host::EffectRegistry>();
        Host::Plugin(Host::Plugin::Find("lumenta")).Register(*registry);
        return MakeSP<Host::EffectFactory>(registry);
    }();
    return *s_factory;
}

/// Detail everywhere, the same on every run.
SP<Proc::IDataVideo> MakePicture(Conf::PixFmt format) {
    SP<Proc::IDataVideo> frame = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, format, s_size);
    std::uint32_t noise = 1;
    for (int index = 0; index < 3; ++index) {
        Proc::WritablePlane const plane = frame->GetWritablePlane(index);
        for (std::uint32_t row = 0; row < plane.rows; ++row) {
            std::uint8_t* const line = plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize;
            for (std::size_t x = 0; x < plane.rowBytes; ++x) {
                noise = noise * 1664525 + 1013904223;
                line[x] = static_cast<std::uint8_t>(16 + (noise >> 24) % 220);
            }
        }
    }
    return frame;
}

void RunEffect(benchmark::State& state, char const* text, Conf::PixFmt format = Conf::PixFmt::YUV420P) {
    auto const effect = Host::MakeVideoEffect(GetFactory(), Host::ParseEffectStep(text));
    SP<Proc::IDataVideo> const picture = MakePicture(format);
    for (auto _ : state) {
        SP<Proc::IDataVideo> frame = picture->Copy();
        effect->Process(frame);
        benchmark::DoNotOptimize(frame.get());
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(RunEffect, flip_horizontal, "flip horizontal=1")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(RunEffect, flip_vertical, "flip vertical=1")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(RunEffect, transpose_1, "transpose step=1")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(RunEffect, transpose_2, "transpose step=2")->Unit(benchmark::kMicrosecond);

/// The library's own way (argument 0) beside the filter that it stands in for (1), which gives the same bits.
void RunFastWay(benchmark::State& state, char const* text, Conf::PixFmt format) {
    Core::ThreadBudget::Set(1);
    Proc::SetFiltersOnly(state.range(0) != 0);
    RunEffect(state, text, format);
    Proc::SetFiltersOnly(false);
}

BENCHMARK_CAPTURE(RunFastWay, emboss, "emboss", Conf::PixFmt::YUV420P)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunFastWay, denoise_wavelet, "denoise-wavelet luma=5 chroma=5", Conf::PixFmt::YUV420P)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunFastWay, edge_detect, "edge-detect low=0.1 high=0.4", Conf::PixFmt::YUV420P)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RunFastWay, balance_chroma, "balance-chroma red-shadows=30", Conf::PixFmt::GBRP)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Tarsel
