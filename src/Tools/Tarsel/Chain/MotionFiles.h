#pragma once

#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Refuses steps that measure camera motion into a file that nobody named, or that is something else: one of
/// `files`, which the run reads or writes, or anything that holds no motion. UsageException naming the step
/// and the file; Media::InputException for steps that read motion where there is none.
void CheckMotionFiles(std::vector<VideoStep> const& steps, std::vector<std::filesystem::path> const& files);

/// Has steps measure camera motion into the folder where no file was named. Throws as SetSettings.
void KeepMotionPrivate(std::vector<VideoStep> const& steps, PrivateFolder const& folder);

/// Whether the step writes a file of camera motion.
bool WritesMotionFile(VideoStep const& step);

/// What to do with the motion that steps only measure, a line each.
std::vector<std::string> DescribeMotionFiles(std::vector<VideoStep> const& steps);

} // namespace Tarsel::Tools
