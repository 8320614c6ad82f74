#include "Tools/Tarsel/Mixer.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"
#include "Tools/Tarsel/Levels.h"

#include <algorithm>
#include <cstdint>
#include <utility>

extern "C" {
#include <libavutil/avutil.h>
}

namespace Tarsel::Tools {
namespace {

/// Samples that are mixed at once.
constexpr int s_blockSize = 8192;

/// MixAudio clips at full scale. Sums that are so much smaller never get there, and lose nothing: it is a
/// power of two.
constexpr double s_scale = 0x1p-64;

} // namespace

Conf::SampleInfo ChooseMixFormat(std::span<Conf::SampleInfo const> inputs) {
    Conf::SampleInfo format;
    format.format = Conf::SampleFormats::DoublePlanar;
    for (Conf::SampleInfo const& input : inputs) {
        format.rate = std::max(format.rate, input.rate);
        if (input.layout.channels > format.layout.channels)
            format.layout = input.layout;
    }
    return format;
}

Mixer::Mixer(Conf::SampleInfo const& format, std::vector<MixInput> inputs)
    : m_format(format), m_inputs(std::move(inputs)) {}

SP<Proc::IDataAudio> Mixer::Next() {
    std::vector<SP<Proc::IDataAudio>> pieces;
    std::vector<double> volumes;
    std::int64_t length = 0;
    for (MixInput& input : m_inputs) {
        SP<Proc::IDataAudio> piece = input.source.Take(s_blockSize);
        if (!piece)
            continue;
        length = std::max(length, piece->GetSampleCount());
        pieces.push_back(std::move(piece));
        volumes.push_back(input.volume * s_scale);
    }
    if (pieces.empty())
        return nullptr;

    auto mix = Proc::DataAudioFF::CreateBySampleCount(m_format, static_cast<int>(length));
    mix->SetTime(AV_NOPTS_VALUE);
    for (int plane = 0; plane < Proc::CountPlanes(*mix); ++plane) {
        Proc::AudioRef const to = Proc::GetPlaneRef(*mix, plane);
        std::vector<Proc::Audio2Mix> sources;
        for (std::size_t i = 0; i < pieces.size(); ++i)
            sources.push_back({Proc::GetPlaneRef(*pieces[i], plane), volumes[i]});
        Proc::MixAudio(to, sources);
        auto const* const samples = reinterpret_cast<double const*>(to.samples);
        m_peak = std::max(m_peak, MeasureLevel(samples, to.sampleCount).GetPeak() / s_scale);
        Proc::VolumizeAudio(to, to, 1 / s_scale);
    }
    return mix;
}

} // namespace Tarsel::Tools
