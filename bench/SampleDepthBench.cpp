// What it costs to look at every sample of a deep frame before a filter may have it, next to that filter.
// Both are timed in one run, in turns; "share" is the check's part of the filter's time.

#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Tarsel {
namespace {

constexpr Conf::FrameInfo s_info{1920, 1080, 1, 1};
/// Noise of 10 bits.
SP<Proc::IDataVideo> MakeFrame(AVPixelFormat format) {
    SP<Proc::IDataVideo> frame =
        MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, static_cast<Conf::PixFmt>(format), s_info);
    std::uint32_t noise = 1;
    for (int index = 0; index < 3; ++index) {
        Proc::WritablePlane const plane = frame->GetWritablePlane(index);
        for (std::uint32_t y = 0; y < plane.rows; ++y)
            for (std::size_t x = 0; x < plane.rowBytes; ++x) {
                noise = noise * 1664525 + 1013904223;
                plane.data[static_cast<std::ptrdiff_t>(y) * plane.lineSize + static_cast<std::ptrdiff_t>(x)] =
                    static_cast<std::uint8_t>(x % 2 == 0 ? noise >> 24 : noise >> 30);
            }
    }
    return frame;
}

void SampleDepth(benchmark::State& state, char const* formatName, char const* description) {
    using Clock = std::chrono::steady_clock;
    AVPixelFormat const format = av_get_pix_fmt(formatName);
    auto const graph = Proc::EffectFFMPEGVideo::Create(description, format, s_info, {});
    // As many as a decoder keeps, so that none is in the cache by itself.
    std::array<SP<Proc::IDataVideo>, 8> frames;
    for (auto& frame : frames)
        frame = MakeFrame(format);
    Clock::duration check{};
    Clock::duration filter{};
    std::size_t count = 0;
    for (auto _ : state) {
        SP<Proc::IDataVideo> frame = frames[count++ % frames.size()];
        auto const start = Clock::now();
        Proc::RequireSamplesWithinDepth(*frame, description,
                                        {"bench/SampleDepthBench", "void SampleDepth()"});
        auto const middle = Clock::now();
        graph->Process(frame);
        auto const end = Clock::now();
        check += middle - start;
        filter += end - middle;
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    state.counters["filter_us"] =
        std::chrono::duration<double, std::micro>(filter).count() / static_cast<double>(count);
    state.counters["share"] = std::chrono::duration<double>(check) / std::chrono::duration<double>(filter);
}

BENCHMARK_CAPTURE(SampleDepth, hqdn3d_yuv420p10, "yuv420p10le", "hqdn3d=4:3:6:4.5")
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SampleDepth, hqdn3d_yuv420p, "yuv420p", "hqdn3d=4:3:6:4.5")
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(200); // nothing to look at, so that no time would be enough

} // namespace
} // namespace Tarsel
