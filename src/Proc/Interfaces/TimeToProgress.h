#pragma once

#include "Core/Api.h"

#include <cstdint>
#include <functional>

namespace Tarsel::Proc {

/// How far an effect has got along a stretch of time: a range of times in microseconds and a function of
/// (current, start, end) that gives 0 at the start and 1 at the end. A value: copies are independent; not
/// synchronized.
class TARSEL_API TimeToProgress {
public:
    using Function = std::function<double(std::int64_t current, std::int64_t start, std::int64_t end)>;

    /// The first second, linear.
    TimeToProgress() : TimeToProgress(0, 1000000) {}
    /// Checks nothing: `end` may lie before `start`. The function is kept, and called by whoever asks.
    TimeToProgress(std::int64_t start, std::int64_t end, Function function = Linear);

    std::int64_t GetStart() const noexcept { return m_start; }
    std::int64_t GetEnd() const noexcept { return m_end; }
    /// Whatever the function gives and throws; std::bad_function_call where it is empty.
    double operator()(std::int64_t current) const { return m_function(current, m_start, m_end); }

    /// (current − start) / (end − start), in double; not clamped, and no number for a stretch of no
    /// length.
    static double Linear(std::int64_t current, std::int64_t start, std::int64_t end) noexcept;

private:
    std::int64_t m_start;
    std::int64_t m_end;
    Function m_function;
};

} // namespace Tarsel::Proc
