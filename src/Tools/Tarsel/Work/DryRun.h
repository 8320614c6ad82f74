#pragma once

#include "Media/RunPlan.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Chain/Explanation.h"
#include "Tools/Tarsel/Work/Context.h"
#include "Tools/Tarsel/Work/FFmpegCommand.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// What a run would do, found out without one.
struct DryRun {
    Media::RunPlan plan;
    /// On each stream that has some, by its index in the input.
    std::map<std::size_t, Explanations> steps;
    /// Of the plan and of the effects.
    std::vector<std::string> notes;
    FFmpegCommand command;
};

/// Reads the beginning of the input and writes nothing. Throws what a run with these arguments would before
/// its first frame. One thread for each context.
DryRun PlanRun(RunArguments const& arguments, Context const& context);

} // namespace Tarsel::Tools
