#include "Tools/Tarsel/Audio/Limiter.h"

#include <algorithm>
#include <cmath>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

constexpr std::int64_t s_factor = 4;
constexpr double s_lookAhead = 0.005;
constexpr double s_releaseTime = 0.1;

Conf::SampleInfo Raise(Conf::SampleInfo format) {
    format.rate *= static_cast<int>(s_factor);
    return format;
}

} // namespace

Limiter::Limiter(Conf::SampleInfo const& format, double limit)
    : m_limit(limit), m_release(std::exp(-1 / (s_releaseTime * format.rate))),
      m_window(std::max<std::int64_t>(std::llround(s_lookAhead * format.rate), 1)),
      m_raiser({format, Raise(format)}) {}

void Limiter::Feed(SP<Proc::DataAudioFF> block) {
    if (auto const raised = m_raiser.Convert(*std::as_const(*block).GetAVFrame()))
        AddPeaks(**raised);
    m_blocks.push_back(std::move(block));
}

void Limiter::End() {
    if (auto const raised = m_raiser.Flush())
        AddPeaks(**raised);
    m_ended = true;
    std::int64_t waiting = 0;
    for (auto const& block : m_blocks)
        waiting += block->GetSampleCount();
    // Nothing comes that needs less.
    while (static_cast<std::int64_t>(m_gains.size()) < waiting)
        AddNeed(m_peaks.empty() ? 0 : *std::ranges::max_element(m_peaks));
}

/// What a sample needs is told by what lies between its neighbors.
void Limiter::AddPeaks(AVFrame const& raised) {
    for (int i = 0; i < raised.nb_samples; ++i) {
        double peak = 0;
        for (int c = 0; c < raised.ch_layout.nb_channels; ++c)
            peak = std::max(peak, std::abs(reinterpret_cast<double const*>(raised.extended_data[c])[i]));
        m_peaks.push_back(peak);
    }
    auto const ready = [&] { return m_firstPeak + static_cast<std::int64_t>(m_peaks.size()); };
    while (ready() >= s_factor * (m_needCount + 1)) {
        std::int64_t const from = std::max<std::int64_t>(s_factor * (m_needCount - 1) + 1, m_firstPeak);
        m_peaks.erase(m_peaks.begin(), m_peaks.begin() + (from - m_firstPeak));
        m_firstPeak = from;
        auto const count = s_factor * (m_needCount + 1) - from;
        AddNeed(*std::max_element(m_peaks.begin(), m_peaks.begin() + count));
    }
}

void Limiter::AddNeed(double peak) {
    double const needed = peak > m_limit ? m_limit / peak : 1;
    m_need = std::min(needed, 1 - (1 - m_need) * m_release);
    while (!m_leasts.empty() && m_leasts.back().gain >= m_need)
        m_leasts.pop_back();
    m_leasts.push_back({m_needCount, m_need});
    ++m_needCount;
    // The window of the sample that is m_window behind.
    if (m_needCount <= m_window)
        return;
    if (m_leasts.front().sample < m_needCount - 1 - m_window)
        m_leasts.pop_front();
    AddGain(m_leasts.front().gain);
}

void Limiter::AddGain(double least) {
    // Before the first sample nothing was needed but what that one needs.
    if (m_averaged.empty()) {
        m_averaged.assign(static_cast<std::size_t>(m_window), least);
        m_sum = static_cast<double>(m_window) * least;
    }
    m_averaged.push_back(least);
    m_sum += least;
    double const gain = std::min(m_sum / static_cast<double>(m_averaged.size()), 1.0);
    m_gains.push_back(gain);
    m_leastGain = std::min(m_leastGain, gain);
    m_sum -= m_averaged.front();
    m_averaged.pop_front();
}

SP<Proc::DataAudioFF> Limiter::Take() {
    if (m_blocks.empty() || static_cast<std::int64_t>(m_gains.size()) < m_blocks.front()->GetSampleCount())
        return nullptr;
    SP<Proc::DataAudioFF> block = std::move(m_blocks.front());
    m_blocks.pop_front();
    Apply(*block);
    return block;
}

void Limiter::Apply(Proc::DataAudioFF& block) {
    AVFrame const& frame = *block.GetAVFrame();
    for (int c = 0; c < frame.ch_layout.nb_channels; ++c) {
        auto* const samples = reinterpret_cast<double*>(frame.extended_data[c]);
        for (int i = 0; i < frame.nb_samples; ++i)
            samples[i] *= m_gains[static_cast<std::size_t>(i)];
    }
    m_gains.erase(m_gains.begin(), m_gains.begin() + frame.nb_samples);
}

} // namespace Tarsel::Tools
