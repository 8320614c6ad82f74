#pragma once

#include <chrono>

namespace Tarsel::Core {

/// Adds how long it lives to a sum, which has to live longer.
class Stopwatch {
public:
    explicit Stopwatch(std::chrono::nanoseconds& sum) noexcept : m_sum(sum) {}
    Stopwatch(Stopwatch const&) = delete;
    Stopwatch& operator=(Stopwatch const&) = delete;
    ~Stopwatch() { m_sum += std::chrono::steady_clock::now() - m_begin; }

private:
    std::chrono::nanoseconds& m_sum;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

} // namespace Tarsel::Core
