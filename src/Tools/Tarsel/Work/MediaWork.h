#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Arguments/MediaArguments.h"
#include "Tools/Tarsel/Work/Context.h"
#include "Tools/Tarsel/Work/FrameFactsFile.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Whether both name one file, there or not. Any thread.
bool NameSameFile(std::filesystem::path const& a, std::filesystem::path const& b);

/// The work of a verb on media files as its user meets it: progress, log and facts about frames meanwhile,
/// notes and a summary at the end. One object at a time.
class MediaWork {
public:
    /// Sets the thread budget and opens the files that a run writes beside its output. Both have to live
    /// longer. UsageException where one of these is the input or the output; Media::OutputException.
    MediaWork(MediaArguments const& arguments, Context const& context);

    /// Shows the progress of one of `passes` passes over the same pictures, the first being 0.
    std::function<void(Media::RunProgress const&)> ShowProgress(int pass = 0, int passes = 1) const;
    /// Has the last of the passes report to this.
    void Attach(Media::RunOptions& options, int passes = 1);
    /// Ends the progress and tells what became of the output. `times` is JSON, or "".
    void Tell(Media::RunResult const& result, std::vector<std::string> const& notes,
              std::string const& times = {});

private:
    MediaArguments const& m_arguments;
    Context const& m_context;
    FrameFactsFile m_facts;
};

} // namespace Tarsel::Tools
