#pragma once

#include "Core/RefCount.h"

#include <string>
#include <vector>

namespace Tarsel::Core {

/// The host's end of a progress report.
class TARSEL_API IProgressController : public IRefCountable {
public:
    /// `done` runs from 0 to 1 over all stages; `stage` names the current one and lives for the call only.
    /// Returns false to ask the work to stop. Called on the thread that does the work.
    virtual bool SetProgress(double done, std::string const& stage) = 0;
};

/// Work in stages of known length, told to one controller. Not synchronized: the thread that works calls it.
class TARSEL_API ProgressControllerStages : public RefCounted<IRefCountable> {
public:
    /// Shares the controller; null ends the reports.
    void SetProgressController(SP<IProgressController> const& controller);
    /// Steps of each stage, in order, none negative; starts over at the first stage. Throws CoreException on
    /// a negative length.
    void Init(std::vector<int> const& stages);
    /// Begins stage `stage`, counted from 0; the stages before it count as done. `name` is copied, null is
    /// "". Returns false when the controller asks to stop. A stage that Init did not name throws
    /// CoreException.
    bool InitStage(int stage, char const* name);
    /// One step of the current stage is done; steps beyond its length do not move it further.
    /// Returns false when the controller asks to stop.
    bool IncProgress();

private:
    bool Report() const;

    SP<IProgressController> m_controller;
    std::vector<int> m_stages;
    std::size_t m_stage = 0;
    int m_step = 0;
    std::string m_name;
};

} // namespace Tarsel::Core
