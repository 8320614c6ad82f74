#include "Proc/Effects/Lumenta/Pixels/NearestCandidates.h"

namespace Tarsel::Proc {

NearestCandidates::NearestCandidates(std::size_t count)
    : m_count(count), m_rowLength((count + CANDIDATE_LANES - 1) / CANDIDATE_LANES * CANDIDATE_LANES),
      m_rows(4 * m_rowLength, CANDIDATE_FILLER) {}

NearestCandidates::NearestCandidates(std::span<Rgb const> palette) : NearestCandidates(palette.size()) {
    for (std::size_t i = 0; i < m_count; ++i) {
        m_rows[i] = static_cast<std::int16_t>(2 * RED_WEIGHT * palette[i].red);
        m_rows[m_rowLength + i] = static_cast<std::int16_t>(2 * GREEN_WEIGHT * palette[i].green);
        m_rows[2 * m_rowLength + i] = static_cast<std::int16_t>(2 * BLUE_WEIGHT * palette[i].blue);
        m_rows[3 * m_rowLength + i] = static_cast<std::int16_t>(i + 1);
    }
}

CandidateRows NearestCandidates::GetRows() const noexcept {
    std::int16_t const* const first = m_rows.data();
    return {first, first + m_rowLength, first + 2 * m_rowLength, first + 3 * m_rowLength, m_count};
}

NearestCandidates NearestCandidates::Select(std::span<std::uint16_t const> positions) const {
    NearestCandidates selected(positions.size());
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t i = 0; i < positions.size(); ++i)
            selected.m_rows[row * selected.m_rowLength + i] = m_rows[row * m_rowLength + positions[i]];
    return selected;
}

} // namespace Tarsel::Proc
