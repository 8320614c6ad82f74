// What an audio effect costs a block of 1024 samples beyond the filter graph inside it: everything is timed
// in one run, next to a plain loop over the same graph; "over_us" is the difference to that loop, in
// microseconds a block. And why audio graphs run on one thread: "times_faster" of an equalizer than the same
// text in a graph with as many threads as FFmpeg takes by itself.

#include "Conf/FormatCodecAudio.h"
#include "Conf/SampleInfo.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Effects/Lumenta/Base/CreateEffect.h"
#include "Proc/Effects/Lumenta/Graph/GraphOwners.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Settings/Equalizer.h"
#include "Proc/Settings/Modulation.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

namespace Tarsel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int s_samples = 1024;
constexpr int s_batch = 16;
Conf::SampleInfo const s_info = Conf::SampleInfo::Init(Conf::SampleFormats::DoublePlanar, 48000, {3, 2});

SP<Proc::IDataAudio> MakeBlock() {
    SP<Proc::IDataAudio> block = Proc::DataAudioFF::CreateBySampleCount(s_info, s_samples);
    for (int plane = 0; plane < 2; ++plane)
        std::memset(block->GetAVFrame()->extended_data[plane], 0, s_samples * sizeof(double));
    return block;
}

/// A graph without anything around it, on that many threads (0: as many as FFmpeg takes).
class BareGraph {
public:
    BareGraph(std::string const& description, int threads) : m_graph(Proc::MakeFilterGraph(nullptr)) {
        m_graph->nb_threads = threads;
        std::string const text =
            "abuffer@in=" + Proc::MakeAudioSourceArgs(s_info) + "," + description + ",abuffersink@out";
        AVFilterInOut* inputs = nullptr;
        AVFilterInOut* outputs = nullptr;
        if (avfilter_graph_parse2(m_graph.get(), text.c_str(), &inputs, &outputs) < 0 ||
            avfilter_graph_config(m_graph.get(), nullptr) < 0)
            throw std::runtime_error("no graph for " + text);
        m_source = avfilter_graph_get_filter(m_graph.get(), "abuffer@in");
        m_sink = avfilter_graph_get_filter(m_graph.get(), "abuffersink@out");
    }
    BareGraph(BareGraph const&) = delete;
    BareGraph& operator=(BareGraph const&) = delete;
    ~BareGraph() { av_frame_free(&m_out); }

    void Run(Proc::IDataAudio const& block) const {
        // Its frame is not written to.
        auto* const in = const_cast<AVFrame*>(block.GetAVFrame());
        if (av_buffersrc_add_frame_flags(m_source, in, AV_BUFFERSRC_FLAG_KEEP_REF) < 0)
            throw std::runtime_error("the bare graph refuses a block");
        while (av_buffersink_get_frame(m_sink, m_out) >= 0)
            av_frame_unref(m_out);
    }

private:
    std::shared_ptr<AVFilterGraph> m_graph;
    AVFilterContext* m_source = nullptr;
    AVFilterContext* m_sink = nullptr;
    AVFrame* m_out = av_frame_alloc();
};

/// Times `own` for each block in turns with the bare graph, so that both meet the same machine; in
/// microseconds a block.
struct Times {
    double bare;
    double own;
};

template <class Own>
Times RunBeside(benchmark::State& state, BareGraph const& bare, Own const& own) {
    SP<Proc::IDataAudio> const block = MakeBlock();
    // The best batch of each: the others shared the machine.
    Clock::duration bareTime = Clock::duration::max();
    Clock::duration ownTime = Clock::duration::max();
    for (auto _ : state) {
        auto const start = Clock::now();
        for (int i = 0; i < s_batch; ++i)
            bare.Run(*block);
        auto const middle = Clock::now();
        for (int i = 0; i < s_batch; ++i)
            own(block);
        auto const end = Clock::now();
        bareTime = std::min(bareTime, middle - start);
        ownTime = std::min(ownTime, end - middle);
        state.SetIterationTime(std::chrono::duration<double>(end - middle).count());
    }
    auto const each = [](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() / s_batch;
    };
    return {each(bareTime), each(ownTime)};
}

void ReportOver(benchmark::State& state, Times const& times) {
    state.counters["bare_us"] = times.bare;
    state.counters["own_us"] = times.own;
    state.counters["over_us"] = times.own - times.bare;
}

template <class S>
SP<Proc::IOneInputEffectAudio> Make() {
    return std::get<Proc::AudioEffectCreator>(Proc::GetCreator<S>())({}, {});
}

constexpr char const* s_flanger =
    "flanger=delay=0:depth=2:regen=0:width=71:speed=0.5:phase=25:shape=sinusoidal:interp=linear";

void Process(benchmark::State& state) {
    auto const effect = Make<Proc::SettingsAudioFlanger>();
    ReportOver(state, RunBeside(state, BareGraph(s_flanger, 1),
                                [&](SP<Proc::IData> data) { effect->ProcessData(data); }));
}

void Stream(benchmark::State& state) {
    auto const effect = Make<Proc::SettingsAudioFlanger>();
    auto& stream = dynamic_cast<Proc::IEffectStreamAudio&>(*effect);
    ReportOver(state, RunBeside(state, BareGraph(s_flanger, 1), [&](SP<Proc::IDataAudio> const& data) {
                   stream.Feed(data);
                   while (stream.Take()) {
                   }
               }));
}

/// Ten bands, one an octave.
void Equalizer(benchmark::State& state) {
    Proc::SettingsAudioEqualizer settings;
    for (int i = 0; i < 10; ++i)
        settings.bands.push_back({31 << i, i - 4.5});
    auto const effect = Make<Proc::SettingsAudioEqualizer>();
    effect->SetSettings(settings);
    std::string const text =
        dynamic_cast<Proc::IEffectDetailsAudio&>(*effect).Describe(Conf::FormatCodecAudio(s_info));
    Times const times =
        RunBeside(state, BareGraph(text, 0), [&](SP<Proc::IData> data) { effect->ProcessData(data); });
    state.counters["threads_us"] = times.bare;
    state.counters["own_us"] = times.own;
    state.counters["times_faster"] = times.bare / times.own;
}

BENCHMARK(Process)->UseManualTime();
BENCHMARK(Stream)->UseManualTime();
BENCHMARK(Equalizer)->UseManualTime();

} // namespace
} // namespace Tarsel
