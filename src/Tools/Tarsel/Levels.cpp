#include "Tools/Tarsel/Levels.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"

#include <algorithm>
#include <cmath>

namespace Tarsel::Tools {
namespace {

/// Samples of one channel as the algorithms take them. They are only read.
Proc::AudioRef MakeRef(double const* samples, std::size_t count) {
    Proc::AudioRef ref;
    ref.sampleCount = count;
    ref.info.format = Conf::SampleFormats::DoublePlanar;
    ref.info.layout = Conf::ChannelLayout::FromCount(1);
    ref.samples = reinterpret_cast<std::uint8_t*>(const_cast<double*>(samples));
    return ref;
}

} // namespace

void ReadSamples(Proc::IDataAudio const& block, ChannelSamples& samples) {
    Proc::JoinedAudio const joined(block);
    Proc::AudioRef const& ref = joined.GetRef();
    samples.resize(ref.info.layout.channels);
    for (std::vector<double>& channel : samples)
        channel.resize(ref.sampleCount);
    std::vector<double> values;
    for (std::size_t i = 0; i < ref.sampleCount; ++i) {
        values.clear();
        Proc::GetAudioSamples(ref, static_cast<int>(i), values);
        for (std::size_t c = 0; c < values.size(); ++c)
            samples[c][i] = values[c];
    }
}

double Level::GetPeak() const noexcept {
    return std::max(highest, -lowest);
}

double Level::GetRms() const noexcept {
    return samples > 0 ? std::sqrt(squares / static_cast<double>(samples)) : 0;
}

void Level::Add(Level const& later) noexcept {
    highest = std::max(highest, later.highest);
    lowest = std::min(lowest, later.lowest);
    squares += later.squares;
    samples += later.samples;
}

Level MeasureLevel(double const* samples, std::size_t count) {
    // Not by VolumizeAudio, which clips, and turns integers over at 255/256 of their size.
    std::vector<double> turned(samples, samples + count);
    for (double& sample : turned)
        sample = -sample;
    Proc::AudioLevelInfo const level = Proc::EstimateLevel(MakeRef(samples, count));
    Proc::AudioLevelInfo const below = Proc::EstimateLevel(MakeRef(turned.data(), count));
    return {level.peak, -below.peak, level.rms * level.rms * static_cast<double>(count),
            static_cast<std::int64_t>(count)};
}

double ToDecibels(double level) noexcept {
    return 20 * std::log10(level);
}

LevelTrack::LevelTrack(std::size_t channels, double step, std::size_t most)
    : m_channels(channels), m_step(std::max(step, 1.0)), m_most(most) {}

void LevelTrack::Add(ChannelSamples const& samples) {
    std::size_t const count = m_channels > 0 ? samples[0].size() : 0;
    for (std::size_t at = 0; at < count;) {
        if (m_samples == GetBound(m_rows.size()))
            StartRow();
        auto const room = static_cast<std::size_t>(GetBound(m_rows.size()) - m_samples);
        std::size_t const piece = std::min(count - at, room);
        for (std::size_t c = 0; c < m_channels; ++c)
            m_rows.back()[c].Add(MeasureLevel(samples[c].data() + at, piece));
        at += piece;
        m_samples += static_cast<std::int64_t>(piece);
    }
}

void LevelTrack::StartRow() {
    if (m_most > 0 && m_rows.size() == m_most) {
        for (std::size_t row = 0; row < m_most / 2; ++row) {
            Row& joined = m_rows[row] = m_rows[2 * row];
            for (std::size_t c = 0; c < m_channels; ++c)
                joined[c].Add(m_rows[2 * row + 1][c]);
        }
        m_rows.resize(m_most / 2);
        m_step *= 2;
    }
    m_rows.emplace_back(m_channels);
}

std::int64_t LevelTrack::GetBound(std::size_t row) const noexcept {
    return std::llround(static_cast<double>(row) * m_step);
}

std::int64_t LevelTrack::GetStart(std::size_t row) const noexcept {
    return std::min(GetBound(row), m_samples);
}

LevelTrack::Row LevelTrack::GetWhole() const {
    Row whole(m_channels);
    for (Row const& row : m_rows)
        for (std::size_t c = 0; c < m_channels; ++c)
            whole[c].Add(row[c]);
    return whole;
}

} // namespace Tarsel::Tools
