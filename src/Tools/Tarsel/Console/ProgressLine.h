#pragma once

#include "Media/Run.h"

#include <cstddef>
#include <string>

namespace Tarsel::Tools {

class Console;

/// Progress as one line of at most `columns` characters: a bar, percent, frames, frames a second and the time
/// left; what does not fit is dropped, the bar first. Where there are no frames, so much of the audio.
/// Of unknown length: frames and frames a second. Pure; any thread.
std::string RenderProgress(Media::RunProgress const& progress, int columns);

/// The same on a line of its own, without a bar; "" where nothing is known yet.
std::string RenderProgressText(Media::RunProgress const& progress);

/// How far a run of several files is.
struct FilesProgress {
    /// Of all files together; `frames` of those that are written.
    Media::RunProgress all;
    std::size_t files = 0;
    /// Written, skipped or failed.
    std::size_t filesDone = 0;
};

/// The same of several files, which are told in place of frames.
std::string RenderFiles(FilesProgress const& progress, int columns);
std::string RenderFilesText(FilesProgress const& progress);

/// Shows it as the console's status line.
void ShowProgressLine(Console& console, Media::RunProgress const& progress);

/// Seconds as "0:05", "12:34" or "1:02:03", rounded to the nearest second; "" for negative and non-finite
/// times.
std::string FormatDuration(double seconds);

} // namespace Tarsel::Tools
