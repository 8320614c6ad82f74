#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Console/WholeFile.h"
#include "Tools/Tarsel/Parts/PartFile.h"
#include "Tools/Tarsel/Parts/PartNumber.h"
#include "Tools/Tarsel/Work/Context.h"
#include "Tools/Tarsel/Work/RunWork.h"

#include <optional>

namespace Tarsel::Tools {

/// A run that works on a part of the video only, and describes it in a file beside it. One run; one thread at
/// a time.
class PartWork {
public:
    /// UsageException where another file that is written beside the part has the name of its description.
    static void CheckFiles(MediaArguments const& media);
    /// Reads a little of the input. The description is written only by Publish, after the part itself: a
    /// process that is killed leaves no part that has one. UsageException for what no part can be made with;
    /// Media::OptionsException for a part that exists already and is another, Media::InputException,
    /// Media::OutputException.
    PartWork(RunArguments const& arguments, PartNumber const& part, RunWork const& work,
             Context const& context);

    /// What a run would give where the part is there already, complete and made in the same way.
    std::optional<Media::RunResult> const& GetFormerResult() const noexcept { return m_former; }
    /// Those of the run of the part.
    Media::RunOptions MakeOptions(Media::RunOptions options) const;
    /// Describes what came of it. Media::InputException, Media::OutputException.
    void Publish(Media::RunResult const& result);

private:
    void LookForFormer(bool mayReplace);

    std::filesystem::path m_output;
    PartFile m_file;
    Media::Part m_part;
    std::optional<Media::RunResult> m_former;
    WholeFile m_description;
};

} // namespace Tarsel::Tools
