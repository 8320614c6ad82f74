// The kernels beside the linked FFmpeg's filters, on one thread and on the same frame: "filter_x" tells how
// many times as fast as the filter the kernel was.

#include "BestTime.h"
#include "Pixels/FilterRun.h"
#include "Pixels/KernelCases.h"
#include "Support/Planes.h"

#include <benchmark/benchmark.h>

#include <optional>
#include <random>
#include <string>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {
namespace {

#ifdef NDEBUG
constexpr int s_width = 1920;
constexpr int s_height = 1080;
#else
constexpr int s_width = 192;
constexpr int s_height = 108;
#endif

void RunKernel(benchmark::State& state, KernelTrial const& trial, Conf::PixFmt format) {
    Proc::SafeFrame from = MakeNoise(format, s_width, s_height);
    Proc::SafeFrame to({}, trial.result, s_width, s_height, 1, 1);
    FilterRun filter(trial.filter, *from);
    BestTime kernel;
    BestTime filtering;
    for (auto _ : state) {
        for (int i = 0; i < 3; ++i)
            kernel.Time([&] { trial.run(*from, *to); });
        filtering.Time([&] { filter(*from); });
        state.SetIterationTime(kernel.Get());
    }
    state.counters["filter_ms"] = 1e3 * filtering.Get();
    state.counters["filter_x"] = filtering.Get() / kernel.Get();
}

/// Each kernel with the common ones of the formats that it covers, and settings drawn at random.
bool Register() {
    for (KernelCase const& kernel : KernelCases())
        for (char const* const name : {"yuv420p", "gray", "gbrp", "rgb24", "rgba"}) {
            std::mt19937 random(1);
            Conf::PixFmt const format = ByName(name);
            std::optional<KernelTrial> trial;
            for (int draw = 0; draw < 8 && !trial; ++draw) // Some settings are covered and others not.
                trial = kernel.draw(random, format, s_width, s_height);
            if (trial)
                benchmark::RegisterBenchmark(
                    (std::string(kernel.name) + '/' + name + '/' + trial->filter).c_str(),
                    [trial = *trial, format](benchmark::State& state) { RunKernel(state, trial, format); })
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond)
                    ->Iterations(2);
        }
    return true;
}

[[maybe_unused]] bool const s_isRegistered = Register();

} // namespace
} // namespace Tarsel::Test
