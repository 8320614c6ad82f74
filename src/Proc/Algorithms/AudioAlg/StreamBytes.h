#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Copies bytes that do not overlap past the caches, where the machine can.
void StreamBytes(std::uint8_t* dst, std::uint8_t const* src, std::size_t size) noexcept;

/// More than caches hold. What is as large as that is written past them: else every line of it would be read
/// only to be overwritten, which is a third of all traffic, and push out what is still needed.
constexpr std::size_t s_streamedSize = std::size_t{32} << 20;

/// Calls compute(to, first, count) for all of `count` samples of `sampleSize` bytes, for it to put the
/// samples from number `first` on there: straight to `dst`, or in steps to a small buffer that is then
/// streamed.
template <class Compute>
void WriteSamples(std::uint8_t* dst, std::size_t count, std::size_t sampleSize, bool mayStream,
                  Compute const& compute) {
    if (!mayStream || count < s_streamedSize / sampleSize)
        return compute(dst, std::size_t{0}, count);
    alignas(64) std::uint8_t buffer[4096];
    for (std::size_t first = 0; first < count;) {
        std::size_t const step = std::min(sizeof buffer / sampleSize, count - first);
        compute(buffer, first, step);
        StreamBytes(dst + first * sampleSize, buffer, step * sampleSize);
        first += step;
    }
}

} // namespace Tarsel::Proc
