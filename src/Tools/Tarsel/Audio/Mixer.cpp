#include "Tools/Tarsel/Audio/Mixer.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/AudioLevels.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"

#include <algorithm>
#include <cstdint>
#include <utility>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

/// Samples of a block: a plane of it stays in the cache while it is looked through.
constexpr int s_blockSize = 4096;

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
    auto mix = Proc::DataAudioFF::CreateBySampleCount(m_format, s_blockSize);
    mix->SetTime(AV_NOPTS_VALUE);
    std::int64_t length = 0;
    while (length < s_blockSize) {
        std::int64_t const run = MixRun(*mix, length);
        if (run == 0)
            break;
        length += run;
    }
    if (length == 0)
        return nullptr;
    mix->GetAVFrame()->nb_samples = static_cast<int>(length);
    for (int plane = 0; plane < Proc::CountPlanes(*mix); ++plane) {
        Proc::AudioRef const sum = Proc::GetPlaneRef(*mix, plane);
        m_peak = std::max(m_peak, Proc::FindPeak(sum) / s_scale);
        Proc::VolumizeAudio(sum, sum, 1 / s_scale);
    }
    return mix;
}

/// As many samples as lie together in all inputs, from where they lie to number `at` of the block; how many,
/// 0 at the end of all.
std::int64_t Mixer::MixRun(Proc::IDataAudio const& mix, std::int64_t at) {
    std::int64_t run = mix.GetSampleCount() - at;
    std::vector<MixInput*> inputs;
    for (MixInput& input : m_inputs)
        if (std::int64_t const ready = input.source.GetReady(); ready > 0) {
            run = std::min(run, ready);
            inputs.push_back(&input);
        }
    if (inputs.empty())
        return 0;
    for (int plane = 0; plane < Proc::CountPlanes(mix); ++plane) {
        std::vector<Proc::Audio2Mix> sources;
        for (MixInput const* input : inputs)
            sources.push_back({input->source.Show(plane, run), input->volume * s_scale});
        Proc::MixAudio(Proc::GetPart(Proc::GetPlaneRef(mix, plane), static_cast<std::uint64_t>(at),
                                     static_cast<std::uint64_t>(run)),
                       sources);
    }
    for (MixInput* input : inputs)
        input->source.Drop(run);
    return run;
}

} // namespace Tarsel::Tools
