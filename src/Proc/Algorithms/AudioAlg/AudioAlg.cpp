#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include "Core/Throw.h"
#include "Proc/Algorithms/AudioAlg/AudioLevel.h"
#include "Proc/Algorithms/AudioAlg/ClipSamples.h"
#include "Proc/Algorithms/AudioAlg/SampleReaders.h"
#include "Proc/Algorithms/AudioAlg/SampleType.h"
#include "Proc/Algorithms/AudioAlg/ScaleSamples.h"
#include "Proc/Algorithms/AudioAlg/StreamBytes.h"
#include "Proc/Algorithms/AudioAlg/SumSamples.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace Tarsel::Proc {
namespace {

using Conf::SampleFmtRecord;
using Conf::SampleFormats;

constexpr char const* s_file = "Proc/Algorithms/AudioAlg/AudioAlg";

/// How many samples of that size fit into the lines of a destination, padding included.
std::size_t CountElements(AudioRef const& dst, std::size_t size) {
    auto const line = static_cast<std::size_t>(std::max(dst.lineSize, 0));
    return line * (IsPlanar(dst) ? dst.info.layout.channels : 1) / size;
}

bool Overlap(std::uint8_t const* a, std::uint8_t const* b, std::size_t size) {
    auto const from = reinterpret_cast<std::uintptr_t>(a);
    auto const to = reinterpret_cast<std::uintptr_t>(b);
    return from < to + size && to < from + size;
}

std::string Describe(Conf::SampleInfo const& info) {
    return fmt::format("{} with {} channels", SampleFmtRecord::Find(info.format).name, info.layout.channels);
}

} // namespace

void ClipAudio(AudioRef const& dst, AudioRef const& src) {
    SampleType const type = GetSampleType(
        src, "ClipAudio", {s_file, "void Tarsel::Proc::ClipAudio(const AudioRef &, const AudioRef &)"});
    std::size_t const size = GetSampleSize(src);
    std::size_t const count = CountElements(dst, size);
    if (count == 0)
        return;
    if (type != SampleType::Float && type != SampleType::Double) {
        std::memmove(dst.samples, src.samples, count * size);
        return;
    }
    WriteSamples(dst.samples, count, size, !Overlap(dst.samples, src.samples, count * size),
                 [&](std::uint8_t* to, std::size_t first, std::size_t step) {
                     ClipSamples(type, to, src.samples + first * size, step);
                 });
}

void VolumizeAudio(AudioRef const& dst, AudioRef const& src, double volume) {
    SampleType const type = GetSampleType(
        src, "VolumizeAudio",
        {s_file, "void Tarsel::Proc::VolumizeAudio(const AudioRef &, const AudioRef &, double)"});
    std::size_t const size = GetSampleSize(src);
    std::size_t const count = CountElements(dst, size);
    if (count == 0)
        return;
    WriteSamples(dst.samples, count, size, !Overlap(dst.samples, src.samples, count * size),
                 [&](std::uint8_t* to, std::size_t first, std::size_t step) {
                     ScaleSamples(type, to, src.samples + first * size, step, volume);
                 });
}

AudioLevelInfo EstimateLevel(AudioRef const& ref) {
    SampleType const type = GetSampleType(
        ref, "EstimateLevel", {s_file, "AudioLevelInfo Tarsel::Proc::EstimateLevel(const AudioRef &)"});
    switch (type) {
    case SampleType::U8:
        return EstimateLevel<SampleTraits<unsigned char>>(ref);
    case SampleType::S16:
        return EstimateLevel<SampleTraits<short>>(ref);
    case SampleType::S32:
        return EstimateLevel<SampleTraits<int>>(ref);
    case SampleType::Float:
        return EstimateLevel<SampleTraits<float>>(ref);
    case SampleType::Double:
        break;
    }
    return EstimateLevel<SampleTraits<double>>(ref);
}

void GetAudioSamples(AudioRef const& ref, int sampleIndex, std::vector<double>& out) {
    switch (ref.info.format) {
    case SampleFormats::U8:
        return GetInterleavedSamples<SampleTraits<unsigned char>>(ref, sampleIndex, out);
    case SampleFormats::S16:
        return GetInterleavedSamples<SampleTraits<short>>(ref, sampleIndex, out);
    case SampleFormats::S32:
        return GetInterleavedSamples<SampleTraits<int>>(ref, sampleIndex, out);
    case SampleFormats::Float:
        return GetInterleavedSamples<SampleTraits<float>>(ref, sampleIndex, out);
    case SampleFormats::Double:
        return GetInterleavedSamples<SampleTraits<double>>(ref, sampleIndex, out);
    case SampleFormats::U8Planar:
        return GetPlanarSamples<SampleTraits<unsigned char>>(ref, sampleIndex, out);
    case SampleFormats::S16Planar:
        return GetPlanarSamples<SampleTraits<short>>(ref, sampleIndex, out);
    case SampleFormats::S32Planar:
        return GetPlanarSamples<SampleTraits<int>>(ref, sampleIndex, out);
    case SampleFormats::FloatPlanar:
        return GetPlanarSamples<SampleTraits<float>>(ref, sampleIndex, out);
    case SampleFormats::DoublePlanar:
        return GetPlanarSamples<SampleTraits<double>>(ref, sampleIndex, out);
    case SampleFormats::Unknown:
        break;
    }
    Core::Throw<EffectException>(
        {s_file, "void Tarsel::Proc::GetAudioSamples(const AudioRef &, int, std::vector<double> &)"},
        "GetAudioSamples doesn't support this sample format");
}

void MixAudio(AudioRef const& dst, std::vector<Audio2Mix> const& sources) {
    Core::Site const site{s_file,
                          "void Tarsel::Proc::MixAudio(const AudioRef &, const std::vector<Audio2Mix> &)"};
    SampleType const type = GetSampleType(dst, "MixAudio", site);
    for (Audio2Mix const& mixed : sources) {
        Conf::SampleInfo const& info = mixed.source.info;
        if (info.format != dst.info.format || info.layout.channels != dst.info.layout.channels)
            Core::Throw<EffectException>(
                site, fmt::format("MixAudio cannot mix {} into {}", Describe(info), Describe(dst.info)));
    }

    std::size_t const size = GetSampleSize(dst);
    std::size_t const channels = dst.info.layout.channels;
    std::size_t const planes = IsPlanar(dst) ? channels : 1;
    std::size_t const interleaved = IsPlanar(dst) ? 1 : channels;
    std::size_t const count = dst.sampleCount * interleaved;
    std::vector<double> volumes;
    for (Audio2Mix const& mixed : sources)
        volumes.push_back(mixed.volume);
    Mix mix(volumes);
    for (std::size_t c = 0; c < planes; ++c) {
        std::uint8_t* const to = GetPlane(dst, c);
        bool mayStream = true;
        for (std::size_t k = 0; k < sources.size(); ++k) {
            mix.sources[k].samples = GetPlane(sources[k].source, c);
            mix.sources[k].count = sources[k].source.sampleCount * interleaved;
            mayStream = mayStream && mix.sources[k].samples != to;
        }
        WriteSamples(to, count, size, mayStream, [&](std::uint8_t* at, std::size_t first, std::size_t step) {
            SumSamples(type, at, first, step, mix);
        });
    }
}

} // namespace Tarsel::Proc
