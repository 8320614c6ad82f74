#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Tarsel::Host {

/// What a step of a chain took so far. Where it works on several data at a time, the sum over its threads.
struct StepTime {
    /// What the chain calls the step.
    std::string label;
    /// Frames or blocks that went in.
    std::int64_t count = 0;
    /// In the effect itself.
    std::chrono::nanoseconds work{};
    /// Frames that the chain converted into what the effect takes, or back, and the time for that.
    std::int64_t converted = 0;
    std::chrono::nanoseconds conversion{};
};

/// Adds what `time` holds to `sum`, whose label stays.
inline void Add(StepTime& sum, StepTime const& time) noexcept {
    sum.count += time.count;
    sum.work += time.work;
    sum.converted += time.converted;
    sum.conversion += time.conversion;
}

} // namespace Tarsel::Host
