#pragma once

#include "Tools/Tarsel/Chain/Steps.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Refuses steps that measure camera motion into a file that is something else: one of `files`, which the run
/// reads or writes, or any file that holds no motion. UsageException naming the step and the file.
void CheckMotionFiles(std::vector<VideoStep> const& steps, std::vector<std::filesystem::path> const& files);

/// What to do with the motion that steps only measure, a line each.
std::vector<std::string> DescribeMotionFiles(std::vector<VideoStep> const& steps);

} // namespace Tarsel::Tools
