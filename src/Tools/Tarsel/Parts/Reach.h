#pragma once

#include "Tools/Tarsel/Chain/Steps.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Tools {

/// How many frames of the input before its own and after it a result of a chain depends on, at most.
struct Reach {
    std::int64_t before = 0;
    std::int64_t after = 0;
};

/// UsageException that names the step for one whose results depend on frames without end: on all before, or
/// on what the effect does not tell. Steps that do nothing, whatever the frame, do not count.
Reach FindReach(std::vector<VideoStep> const& steps);

} // namespace Tarsel::Tools
