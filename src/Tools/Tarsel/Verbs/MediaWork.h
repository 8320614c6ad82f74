#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Verbs/MediaArguments.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <functional>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The work of a verb on media files as its user meets it: progress on a terminal, notes and a
/// summary at the end. One object at a time.
class MediaWork {
public:
    /// Sets the thread budget. Both have to live longer.
    MediaWork(MediaArguments const& arguments, Context const& context);

    /// Shows the progress of one of `passes` passes over the same pictures, the first being 0; empty where
    /// nothing is to be shown.
    std::function<void(Media::RunProgress const&)> ShowProgress(int pass = 0, int passes = 1) const;
    /// Ends the progress and tells what became of the output.
    void Tell(Media::RunResult const& result, std::vector<std::string> const& notes) const;

private:
    MediaArguments const& m_arguments;
    Context const& m_context;
    bool m_showsProgress;
};

} // namespace Tarsel::Tools
