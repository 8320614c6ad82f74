#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Tools/Tarsel/Audio/AudioSource.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarsel::Tools {

/// One audio of a mix.
struct MixInput {
    AudioSource source;
    /// A linear factor, within -s_mostVolume and s_mostVolume.
    double volume = 1;
};

/// 60 dB.
constexpr double s_mostVolume = 1000;

/// What audio streams of these formats are mixed in: real numbers of double precision, at the highest rate,
/// with the most channels (those of the first that has as many).
Conf::SampleInfo ChooseMixFormat(std::span<Conf::SampleInfo const> inputs);

/// Audio streams added up, each with its volume (see Proc::MixAudio). Not synchronized.
class Mixer {
public:
    /// The sources give `format`, a result of ChooseMixFormat.
    Mixer(Conf::SampleInfo const& format, std::vector<MixInput> inputs);

    /// The next samples of the mix, up to a fixed number, clipped at full scale; null when all inputs are at
    /// their end: those that were earlier are silent from there on. The block is the caller's and has no
    /// time. Throws as AudioSource::GetReady.
    SP<Proc::IDataAudio> Next();
    /// The largest magnitude so far, full scale being 1, before it was clipped.
    double GetPeak() const noexcept { return m_peak; }

private:
    std::int64_t MixRun(Proc::IDataAudio const& mix, std::int64_t at);

    Conf::SampleInfo m_format;
    std::vector<MixInput> m_inputs;
    double m_peak = 0;
};

} // namespace Tarsel::Tools
