#pragma once

#include "Proc/Effects/Lumenta/Pixels/NearestSearch.h"
#include "Proc/Effects/Lumenta/Pixels/Rgb.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tarsel::Proc {

/// Colours of a palette among which the nearest is to be found, in the palette's order. Not synchronised.
class NearestCandidates {
public:
    /// None.
    NearestCandidates() noexcept = default;
    /// 1 to 255 colours, which have the indices from 1 on. std::bad_alloc.
    explicit NearestCandidates(std::span<Rgb const> palette);

    bool IsEmpty() const noexcept { return m_count == 0; }
    /// Valid as long as the object.
    CandidateRows GetRows() const noexcept;
    /// Those at these positions. std::bad_alloc.
    NearestCandidates Select(std::span<std::uint16_t const> positions) const;

private:
    explicit NearestCandidates(std::size_t count);

    std::size_t m_count = 0;
    std::size_t m_rowLength = 0;
    std::vector<std::int16_t> m_rows;
};

} // namespace Tarsel::Proc
