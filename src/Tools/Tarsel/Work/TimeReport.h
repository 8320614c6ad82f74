#pragma once

#include "Host/StepTime.h"
#include "Media/RunTimes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Where the time of a run went.
struct TimeReport {
    std::int64_t frames;
    Media::RunTimes times;
    std::vector<Host::StepTime> steps;
    std::vector<Host::StepTime> audioSteps;
    /// How many threads there were for it.
    int threads;
    /// Whether something was written.
    bool writes;
};

/// The share of the work that ran on one thread alone, from 0 to 1, by Amdahl's law (G. Amdahl, AFIPS 1967)
/// out of the time, the processor time and the threads of this run; nothing with one thread, or without work.
std::optional<double> FindSerialShare(TimeReport const& report) noexcept;

/// As a table, a frame where there are any, and sentences below it. Ends in a line feed.
std::string FormatTimes(TimeReport const& report);
/// For programs; of the same content, in seconds and bytes. Ends in a line feed.
std::string TimesToJson(TimeReport const& report);

} // namespace Tarsel::Tools
