// The algorithms over samples beside memcpy, on buffers beyond the caches, and the level beside a plain loop
// and beside the chain of additions that it cannot be faster than. All that is compared is timed in turns in
// one run, and the best of each counts.
//
// "memcpy_time" is the time in units of memcpy's for the same buffer. Mixing two sources moves three buffers
// where memcpy moves two: there the unit is 1.5 times memcpy's time.

#include "BestTime.h"
#include "PlainLevel.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/SampleTraits.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

namespace Tarsel::Proc {
namespace {

using Conf::SampleFormats;

template <class T>
constexpr SampleFormats s_formatOf = static_cast<SampleFormats>(SampleTraits<T>::SAMPLE_TYPE);

template <class T>
using Samples = std::vector<T>;

#ifdef NDEBUG
constexpr std::size_t s_bufferSize = std::size_t{64} << 20;
#else
constexpr std::size_t s_bufferSize = std::size_t{64} << 10;
#endif

/// Noise, for real samples twice as loud as full scale.
template <class T>
Samples<T> MakeNoise(std::size_t count) {
    Samples<T> samples(count);
    std::minstd_rand random;
    for (T& sample : samples)
        if constexpr (std::is_floating_point_v<T>)
            sample = static_cast<T>(static_cast<double>(random()) / 536870912.0 - 2.0);
        else
            sample = static_cast<T>(random() >> 3);
    return samples;
}

template <class T>
AudioRef MakeRef(Samples<T>& samples) {
    return {samples.size(),
            {s_formatOf<T>, 48000, {0, 1}},
            reinterpret_cast<std::uint8_t*>(samples.data()),
            static_cast<std::int32_t>(samples.size() * sizeof(T))};
}

/// Times action(dst, a, b) beside memcpy.
template <class T, class Action>
void RunBesideMemcpy(benchmark::State& state, double traffic, Action const& action) {
    auto const size = static_cast<std::size_t>(state.range(0));
    Samples<T> a = MakeNoise<T>(size / sizeof(T));
    Samples<T> b = a;
    Samples<T> dst = a;
    BestTime best;
    BestTime memory;
    for (auto _ : state) {
        best.Time([&] { action(MakeRef(dst), MakeRef(a), MakeRef(b)); });
        memory.Time([&] { std::memcpy(dst.data(), a.data(), size); });
        state.SetIterationTime(best.Get());
    }
    state.counters["memcpy_time"] = best.Get() / (traffic * memory.Get());
    state.counters["memcpy_GB/s"] = 1e-9 * static_cast<double>(size) / memory.Get();
}

template <class T>
void Clip(benchmark::State& state) {
    RunBesideMemcpy<T>(state, 1,
                       [](AudioRef const& dst, AudioRef const& a, AudioRef const&) { ClipAudio(dst, a); });
}

template <class T>
void Volumize(benchmark::State& state) {
    RunBesideMemcpy<T>(state, 1, [](AudioRef const& dst, AudioRef const& a, AudioRef const&) {
        VolumizeAudio(dst, a, 0.7);
    });
}

template <class T>
void MixOfTwo(benchmark::State& state) {
    RunBesideMemcpy<T>(state, 1.5, [](AudioRef const& dst, AudioRef const& a, AudioRef const& b) {
        MixAudio(dst, {{a, 0.7}, {b, 0.6}});
    });
}

template <class T>
void Level(benchmark::State& state) {
    Samples<T> samples = MakeNoise<T>(static_cast<std::size_t>(state.range(0)));
    BestTime best;
    BestTime plain;
    BestTime chain;
    for (auto _ : state) {
        best.Time([&] { benchmark::DoNotOptimize(EstimateLevel(MakeRef(samples))); });
        plain.Time([&] { benchmark::DoNotOptimize(EstimateLevelPlainly(samples.data(), samples.size())); });
        chain.Time([&] { benchmark::DoNotOptimize(ChainOfFma(0.5, samples.size())); });
        state.SetIterationTime(best.Get());
    }
    state.counters["plain_x"] = plain.Get() / best.Get();
    state.counters["chain_time"] = best.Get() / chain.Get();
    state.counters["ns/sample"] = 1e9 * best.Get() / static_cast<double>(samples.size());
}

void SetBuffer(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(s_bufferSize)->ArgName("bytes")->UseManualTime()->Unit(benchmark::kMillisecond);
}

void SetBlock(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1 << 17)->ArgName("samples")->UseManualTime()->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(Clip, std::int16_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Clip, float)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Clip, double)->Apply(SetBuffer);

BENCHMARK_TEMPLATE(Volumize, std::uint8_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Volumize, std::int16_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Volumize, std::int32_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Volumize, float)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(Volumize, double)->Apply(SetBuffer);

BENCHMARK_TEMPLATE(MixOfTwo, std::uint8_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(MixOfTwo, std::int16_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(MixOfTwo, std::int32_t)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(MixOfTwo, float)->Apply(SetBuffer);
BENCHMARK_TEMPLATE(MixOfTwo, double)->Apply(SetBuffer);

BENCHMARK_TEMPLATE(Level, std::uint8_t)->Apply(SetBlock);
BENCHMARK_TEMPLATE(Level, std::int16_t)->Apply(SetBlock);
BENCHMARK_TEMPLATE(Level, std::int32_t)->Apply(SetBlock);
BENCHMARK_TEMPLATE(Level, float)->Apply(SetBlock);
BENCHMARK_TEMPLATE(Level, double)->Apply(SetBlock);

} // namespace
} // namespace Tarsel::Proc
