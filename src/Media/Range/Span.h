#pragma once

#include "Core/Ratio.h"

#include <cstdint>

struct AVFormatContext;

namespace Tarsel::Media {

/// What is wanted of an input, in microseconds of its clock. In the output time 0 is where it begins; without
/// a beginning times stay as they are.
struct Span {
    std::int64_t from = INT64_MIN;
    /// Not included.
    std::int64_t to = INT64_MAX;
    /// In the output, too, times are those of the input, and frames last as long as there.
    bool keepsTimes = false;

    bool IsWhole() const noexcept { return from == INT64_MIN && to == INT64_MAX; }
    bool Contains(std::int64_t time) const noexcept { return time >= from && time < to; }
    /// The time of the input that is 0 in the output.
    std::int64_t GetOrigin() const noexcept { return from == INT64_MIN || keepsTimes ? 0 : from; }
};

/// The part of what lasts from `start` to `end`, in ticks of `timeBase`; both the same where there is none.
/// Whatever is cut begins and ends at the tick next to the span's.
struct Ticks {
    std::int64_t start = 0;
    std::int64_t end = 0;
};
Ticks Cut(Span const& span, Ticks const& all, Ratio timeBase) noexcept;

/// Cuts the chapters to the span and drops those outside; lengths that are stated become those of what is
/// left. Times are those of the output afterwards.
void CutDescription(AVFormatContext& file, Span const& span);

} // namespace Tarsel::Media
