#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include "Core/Throw.h"
#include "Proc/Algorithms/AudioAlg/AudioLevel.h"
#include "Proc/Algorithms/AudioAlg/ClipSamples.h"
#include "Proc/Algorithms/AudioAlg/SampleReaders.h"
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

/// What the samples of a packed or planar format are; EffectException for any other one.
SampleType GetSampleType(AudioRef const& ref, char const* function, Core::Site const& site) {
    SampleFmtRecord const& record = SampleFmtRecord::Find(ref.info.format);
    SampleFormats const planar = record.planar ? record.format : record.planarCounterpart;
    if (planar == SampleFormats::U8Planar)
        return SampleType::U8;
    if (planar == SampleFormats::S16Planar)
        return SampleType::S16;
    if (planar == SampleFormats::S32Planar)
        return SampleType::S32;
    if (planar == SampleFormats::FloatPlanar)
        return SampleType::Float;
    if (planar == SampleFormats::DoublePlanar)
        return SampleType::Double;
    Core::Throw<EffectException>(site, fmt::format("{} doesn't support this sample format", function));
}

std::size_t GetSampleSize(SampleType type) {
    switch (type) {
    case SampleType::U8:
        return 1;
    case SampleType::S16:
        return 2;
    case SampleType::S32:
    case SampleType::Float:
        return 4;
    case SampleType::Double:
        break;
    }
    return 8;
}

bool IsPlanar(AudioRef const& ref) {
    return SampleFmtRecord::Find(ref.info.format).planar;
}

/// How many samples of that type fit into the lines of a destination, padding included.
std::size_t CountElements(AudioRef const& dst, SampleType type) {
    auto const line = static_cast<std::size_t>(std::max(dst.lineSize, 0));
    return line * (IsPlanar(dst) ? dst.info.layout.channels : 1) / GetSampleSize(type);
}

bool Overlap(std::uint8_t const* a, std::uint8_t const* b, std::size_t size) {
    auto const from = reinterpret_cast<std::uintptr_t>(a);
    auto const to = reinterpret_cast<std::uintptr_t>(b);
    return from < to + size && to < from + size;
}

double LimitVolume(double volume) {
    constexpr double largest = MixedSamples::LARGEST_VOLUME;
    return std::isnan(volume) ? 0.0 : std::clamp(volume, -largest, largest);
}

std::string Describe(Conf::SampleInfo const& info) {
    return fmt::format("{} with {} channels", SampleFmtRecord::Find(info.format).name, info.layout.channels);
}

} // namespace

void ClipAudio(AudioRef const& dst, AudioRef const& src) {
    SampleType const type = GetSampleType(
        src, "ClipAudio", {s_file, "void Tarsel::Proc::ClipAudio(const AudioRef &, const AudioRef &)"});
    std::size_t const size = GetSampleSize(type);
    std::size_t const count = CountElements(dst, type);
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
    std::size_t const size = GetSampleSize(type);
    std::size_t const count = CountElements(dst, type);
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

    std::size_t const size = GetSampleSize(type);
    std::size_t const channels = dst.info.layout.channels;
    std::size_t const planes = IsPlanar(dst) ? channels : 1;
    std::size_t const interleaved = IsPlanar(dst) ? 1 : channels;
    std::size_t const count = dst.sampleCount * interleaved;
    std::vector<MixedSamples> mixed(sources.size());
    for (std::size_t c = 0; c < planes; ++c) {
        std::uint8_t* const to = GetPlane(dst, c);
        bool mayStream = true;
        std::transform(sources.begin(), sources.end(), mixed.begin(), [&](Audio2Mix const& from) {
            MixedSamples const samples{GetPlane(from.source, c), from.source.sampleCount * interleaved,
                                       LimitVolume(from.volume)};
            mayStream = mayStream && samples.samples != to;
            return samples;
        });
        WriteSamples(to, count, size, mayStream, [&](std::uint8_t* at, std::size_t first, std::size_t step) {
            SumSamples(type, at, first, step, mixed);
        });
    }
}

} // namespace Tarsel::Proc
