#pragma once

#include <cstdint>
#include <list>

namespace Tarsel::Proc {

/// Which time each sample of a stream has, for effects that give a sample for each that went in, however they
/// cut them into blocks: that of the sample that went in. Samples beyond those follow without a gap. Filters
/// themselves round times to whole samples, let roundings add up, or forget gaps. Not synchronized.
class SampleTimes {
public:
    /// Samples a second, above 0.
    explicit SampleTimes(std::int32_t rate) noexcept : m_rate(rate) {}

    /// A block went in, at that time in microseconds; AV_NOPTS_VALUE when not known.
    void Push(std::int64_t time, std::int64_t samples);
    /// The time of the next sample, before that many come out; AV_NOPTS_VALUE when not known, or when nothing
    /// went in.
    std::int64_t Pop(std::int64_t samples);

private:
    struct Block {
        std::int64_t time;
        std::int64_t samples;
    };

    std::int32_t m_rate;
    /// From the one that the next sample is of. A list takes no memory while it is empty.
    std::list<Block> m_blocks;
    /// Samples of the first one that came out already.
    std::int64_t m_taken = 0;
};

} // namespace Tarsel::Proc
