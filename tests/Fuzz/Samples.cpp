// Algorithms over samples on all instruction sets: what the plain formulas give, and no byte beside the
// samples is touched.

#include "AudioAlg/AudioMemory.h"
#include "AudioAlg/PlainAudio.h"
#include "Fuzz/Fuzz.h"
#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include <hwy/targets.h>

namespace Tarsel::Proc {
namespace {

template <class T>
T DrawSample(Fuzz::Draws& draws) {
    double const real = draws.OneIn(2) ? draws.Real() : draws.Below(65536) / 16384.0 - 2;
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(real);
    else
        return static_cast<T>(draws());
}

template <class T>
Bytes DrawSamples(Fuzz::Draws& draws, std::size_t count) {
    std::vector<T> samples(count);
    for (T& sample : samples)
        sample = DrawSample<T>(draws);
    return ToBytes(samples);
}

double DrawVolume(Fuzz::Draws& draws) {
    return draws.OneIn(3) ? draws.Real() : draws.Below(65536) / 16384.0 - 2;
}

/// Bits are compared, but for which of the numbers one is that is none.
template <class T>
void RequireSame(Bytes const& got, Bytes const& due, char const* what) {
    for (std::size_t i = 0; i < due.size() / sizeof(T); ++i) {
        T const a = Get<T>(got.data(), i);
        T const b = Get<T>(due.data(), i);
        Fuzz::Require(a == b || (a != a && b != b), "{}: sample {} of {} is {}, not {}", what, i,
                      due.size() / sizeof(T), a, b);
    }
}

template <class T>
void Check(Fuzz::Draws& draws) {
    std::size_t const count = draws.Below(draws.OneIn(4) ? 300 : 40);
    Bytes const first = DrawSamples<T>(draws, count);
    double const volume = DrawVolume(draws);
    std::vector<Bytes> tracks;
    std::vector<double> volumes;
    for (std::uint32_t sources = draws.Below(5); sources > 0; --sources) {
        tracks.push_back(DrawSamples<T>(draws, draws.Below(static_cast<std::uint32_t>(count) + 10)));
        volumes.push_back(DrawVolume(draws));
    }
    Bytes clipped = first;
    Bytes louder(first.size());
    Bytes sum(first.size());
    for (std::size_t i = 0; i < count; ++i) {
        T const sample = Get<T>(first.data(), i);
        if constexpr (std::is_floating_point_v<T>)
            Put(clipped.data(), i, Plain::Clip(sample));
        Put(louder.data(), i, Plain::Volumize(sample, volume));
        std::vector<Plain::Voice<T>> voices;
        for (std::size_t k = 0; k < tracks.size(); ++k)
            voices.push_back(
                {i < tracks[k].size() / sizeof(T) ? Get<T>(tracks[k].data(), i) : Plain::s_silence<T>,
                 volumes[k]});
        Put(sum.data(), i, Plain::Mix(voices));
    }
    for (std::int64_t const target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        Bytes source = first;
        Bytes result(first.size());
        AudioRef const from = MonoRef<T>(source.data(), count);
        AudioRef const to = MonoRef<T>(result.data(), count);
        ClipAudio(to, from);
        RequireSame<T>(result, clipped, "clipped");
        VolumizeAudio(to, from, volume);
        RequireSame<T>(result, louder, "louder");
        std::vector<Audio2Mix> mix;
        for (std::size_t k = 0; k < tracks.size(); ++k)
            mix.push_back({MonoRef<T>(tracks[k].data(), tracks[k].size() / sizeof(T)), volumes[k]});
        MixAudio(to, mix);
        RequireSame<T>(result, sum, "mixed");
        AudioLevelInfo const level = EstimateLevel(from);
        Fuzz::Require(!(level.peak < 0), "a peak of {}", level.peak);
    }
    hwy::SetSupportedTargetsForTest(0);
}

} // namespace
} // namespace Tarsel::Proc

TARSEL_FUZZ(draws) {
    std::uint32_t const type = draws.Below(std::tuple_size_v<Tarsel::Proc::SampleTypes>);
    std::uint32_t i = 0;
    Tarsel::Proc::ForEachType([&]<class T>(T) {
        if (i++ == type)
            Tarsel::Proc::Check<T>(draws);
    });
}
