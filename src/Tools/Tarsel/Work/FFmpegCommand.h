#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Chain/Explanation.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A run as one command of the ffmpeg program.
struct FFmpegCommand {
    /// The program and its arguments; empty where there is no such command.
    std::vector<std::string> words;
    /// Why there is none: "step 2 (resize) uses no filter of FFmpeg's".
    std::string obstacle;
};

/// The command that makes the same frames and samples. `steps` are those on each stream that has some, by its
/// index in the input. Pure; any thread.
FFmpegCommand MakeFFmpegCommand(Media::RunOptions const& options, Media::RunPlan const& plan,
                                std::map<std::size_t, Explanations> const& steps);

} // namespace Tarsel::Tools
