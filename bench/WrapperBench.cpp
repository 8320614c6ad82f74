// What an effect costs a frame beyond the filter graph inside it. Everything is timed in one run, next to a
// plain loop over the same graph; "over_us" is the difference to that loop, in microseconds a frame.

#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Base/CreateEffect.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Settings/Orientation.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

namespace Tarsel {
namespace {

constexpr Conf::FrameInfo s_info{1920, 1080, 1, 1};
constexpr Conf::PixFmt s_format = Conf::PixFmt::YUV420P;

SP<Proc::IDataVideo> MakeFrame() {
    return MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, s_format, s_info);
}

/// The graph without anything around it.
struct BareGraph : Proc::EffectFFMPEG {
    explicit BareGraph(std::string const& description)
        : EffectFFMPEG(Video, description, Proc::MakeVideoSourceArgs(s_format, s_info, {})) {}

    void Run(AVFrame* in, AVFrame* out) const {
        if (av_buffersrc_add_frame_flags(m_source, in, AV_BUFFERSRC_FLAG_KEEP_REF) < 0)
            throw std::runtime_error("the bare graph refuses a frame");
        while (av_buffersink_get_frame(m_sink, out) >= 0)
            av_frame_unref(out);
    }
};

/// Times `frame` for each frame, in turns with the bare graph, so that both meet the same machine.
template <class Frame>
void RunBesideBareGraph(benchmark::State& state, std::string const& description, Frame const& frame) {
    using Clock = std::chrono::steady_clock;
    constexpr int batch = 256;
    BareGraph const bare(description);
    SP<Proc::IDataVideo> const input = MakeFrame();
    AVFrame* out = av_frame_alloc();
    Clock::duration bareTime{};
    Clock::duration ownTime{};
    std::int64_t frames = 0;
    for (auto _ : state) {
        auto const start = Clock::now();
        for (int i = 0; i < batch; ++i)
            bare.Run(input->GetAVFrame(), out);
        auto const middle = Clock::now();
        for (int i = 0; i < batch; ++i)
            frame(input);
        auto const end = Clock::now();
        bareTime += middle - start;
        ownTime += end - middle;
        frames += batch;
        state.SetIterationTime(std::chrono::duration<double>(end - middle).count());
    }
    av_frame_free(&out);
    auto const each = [frames](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() / static_cast<double>(frames);
    };
    state.counters["bare_us"] = each(bareTime);
    state.counters["own_us"] = each(ownTime);
    state.counters["over_us"] = each(ownTime) - each(bareTime);
}

void Graph(benchmark::State& state, std::string const& description) {
    auto const graph =
        Proc::EffectFFMPEGVideo::Create(description, static_cast<AVPixelFormat>(s_format), s_info, {});
    RunBesideBareGraph(state, description, [&](SP<Proc::IDataVideo> data) { graph->Process(data); });
}

void Stream(benchmark::State& state, std::string const& description) {
    auto const graph =
        Proc::EffectFFMPEGVideo::Create(description, static_cast<AVPixelFormat>(s_format), s_info, {});
    RunBesideBareGraph(state, description, [&](SP<Proc::IDataVideo> const& data) {
        graph->Feed(data);
        while (graph->Take()) {
        }
    });
}

void Effect(benchmark::State& state) {
    auto const effect =
        std::get<Proc::VideoEffectCreator>(Proc::GetCreator<Proc::SettingsEffectFlip>())({}, {});
    effect->SetSettings(Proc::SettingsEffectFlip(false, true));
    RunBesideBareGraph(state, "vflip", [&](SP<Proc::IData> data) { effect->ProcessData(data); });
}

BENCHMARK_CAPTURE(Graph, null, "null")->UseManualTime();
BENCHMARK_CAPTURE(Graph, vflip, "vflip")->UseManualTime();
BENCHMARK_CAPTURE(Stream, vflip, "vflip")->UseManualTime();
BENCHMARK(Effect)->Name("Effect/vflip")->UseManualTime();

} // namespace
} // namespace Tarsel
