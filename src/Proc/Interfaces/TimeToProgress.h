#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <functional>

namespace Tarsel::Proc {

/// How far an effect has got along a stretch of time: a range of times in microseconds and a function of
/// (current, start, end) that gives 0 at the start and 1 at the end.
class TARSEL_API TimeToProgress {
public:
    using Function = std::function<double(std::int64_t current, std::int64_t start, std::int64_t end)>;

    TimeToProgress() : TimeToProgress(0, 1000000) {}
    TimeToProgress(std::int64_t start, std::int64_t end, Function function = Linear);

    std::int64_t GetStart() const noexcept { return m_start; }
    std::int64_t GetEnd() const noexcept { return m_end; }
    double operator()(std::int64_t current) const { return m_function(current, m_start, m_end); }

    /// (current − start) / (end − start), in double; not clamped.
    static double Linear(std::int64_t current, std::int64_t start, std::int64_t end) noexcept;

private:
    std::int64_t m_start;
    std::int64_t m_end;
    Function m_function;
};

} // namespace Tarsel::Proc
