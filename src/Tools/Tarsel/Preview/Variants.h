#pragma once

#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// "blur sigma=2 + flip horizontal": the steps as they are at that time, in microseconds, those that do not
/// work then being marked; without one, with what they do over time. Any thread.
std::string DescribeSteps(std::vector<AskedStep> const& steps, std::optional<std::int64_t> time);

/// What the same input is worked on with: several steps, each time others.
struct Variants {
    bool areAudio = false;
    /// Audio steps were left out, since there are others.
    bool haveLeftOutAudio = false;
    std::vector<std::vector<AskedStep>> steps;
    /// Of each; empty: that of DescribeSteps.
    std::vector<std::string> labels;
};

/// One variant of the steps; with a `sweep`, an effect as -e takes it, `count` of them (at least 2), each of
/// which ends in that effect with its ranges "KEY=0..30" at another value, from the first to the last.
/// UsageException where there is nothing to do or nothing moves; as SortSteps.
Variants MakeVariants(Effects const& effects, StepArguments const& arguments, std::string const& sweep,
                      int count);

} // namespace Tarsel::Tools
