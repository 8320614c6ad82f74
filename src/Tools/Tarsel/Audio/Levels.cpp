#include "Tools/Tarsel/Audio/Levels.h"

#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"

#include <algorithm>
#include <cmath>

namespace Tarsel::Tools {

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

double ToDecibels(double level) noexcept {
    return 20 * std::log10(level);
}

LevelTrack::LevelTrack(std::size_t channels, double step, std::size_t most)
    : m_channels(channels), m_step(std::max(step, 1.0)), m_most(most) {}

std::int64_t LevelTrack::MakeRoom() {
    if (m_samples == GetBound(m_rows.size())) {
        if (m_most > 0 && m_rows.size() == m_most)
            JoinRows();
        m_rows.emplace_back(m_channels);
    }
    return GetBound(m_rows.size()) - m_samples;
}

void LevelTrack::Add(Row const& piece) {
    for (std::size_t c = 0; c < m_channels; ++c)
        m_rows.back()[c].Add(piece[c]);
    m_samples += piece[0].samples;
}

/// Each two of them.
void LevelTrack::JoinRows() {
    for (std::size_t row = 0; row < m_most / 2; ++row) {
        Row& joined = m_rows[row] = m_rows[2 * row];
        for (std::size_t c = 0; c < m_channels; ++c)
            joined[c].Add(m_rows[2 * row + 1][c]);
    }
    m_rows.resize(m_most / 2);
    m_step *= 2;
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

void AddBlock(Proc::IDataAudio const& block, std::span<LevelTrack> tracks) {
    std::size_t const channels = block.GetSampleInfo().layout.channels;
    std::vector<Proc::AudioRef> planes;
    for (int plane = 0; plane < Proc::CountPlanes(block); ++plane)
        planes.push_back(Proc::GetPlaneRef(block, plane));
    std::vector<Proc::LevelSums> sums(channels);
    LevelTrack::Row row(channels);
    std::int64_t const count = block.GetSampleCount();
    for (std::int64_t at = 0; at < count;) {
        std::int64_t piece = count - at;
        for (LevelTrack& track : tracks)
            piece = std::min(piece, track.MakeRoom());
        std::fill(sums.begin(), sums.end(), Proc::LevelSums());
        for (std::size_t p = 0; p < planes.size(); ++p)
            Proc::AddLevels(planes[p], static_cast<std::size_t>(at), static_cast<std::size_t>(piece),
                            std::span(sums).subspan(p, planes[p].info.layout.channels));
        for (std::size_t c = 0; c < channels; ++c)
            row[c] = {sums[c], piece};
        for (LevelTrack& track : tracks)
            track.Add(row);
        at += piece;
    }
}

} // namespace Tarsel::Tools
