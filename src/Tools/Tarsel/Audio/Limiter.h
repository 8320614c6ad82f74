#pragma once

#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace Tarsel::Tools {

/// Keeps the peaks of audio, those between the samples too, below a limit, by a gain that all channels share:
/// what each sample needs is found at four times the rate, goes back to 1 exponentially (100 ms), and is
/// averaged over the 5 ms before it, in which it never exceeds the need of the sample after. A look-ahead
/// limiter of the usual kind, after ITU-R BS.1770-4 Annex 2 for the peaks. Not synchronized.
class Limiter {
public:
    /// For blocks of `format`, which is DoublePlanar; `limit` is linear, full scale being 1. EffectException.
    Limiter(Conf::SampleInfo const& format, double limit);

    /// Takes a block over, whose samples it changes. EffectException, MemoryException.
    void Feed(SP<Proc::DataAudioFF> block);
    /// No more blocks.
    void End();
    /// The next block that is done, as it was but for its samples; null: none yet, or none any more.
    SP<Proc::DataAudioFF> Take();

    /// The least gain so far; 1 where nothing was limited.
    double GetLeastGain() const noexcept { return m_leastGain; }

private:
    struct Need {
        std::int64_t sample;
        double gain;
    };

    void AddPeaks(AVFrame const& raised);
    void AddNeed(double peak);
    void AddGain(double least);
    void Apply(Proc::DataAudioFF& block);

    double m_limit;
    double m_release;
    std::int64_t m_window;
    Proc::SafeSwrContext m_raiser;
    /// Magnitudes at four times the rate, the first one at m_firstPeak.
    std::deque<double> m_peaks;
    std::int64_t m_firstPeak = 0;
    std::int64_t m_needCount = 0;
    double m_need = 1;
    /// Of the last window, growing: the first one is the least.
    std::deque<Need> m_leasts;
    /// The least need from a sample on, for so many samples before it as are averaged over.
    std::deque<double> m_averaged;
    double m_sum = 0;
    /// Of samples of the blocks that wait.
    std::deque<double> m_gains;
    std::deque<SP<Proc::DataAudioFF>> m_blocks;
    double m_leastGain = 1;
    bool m_ended = false;
};

} // namespace Tarsel::Tools
