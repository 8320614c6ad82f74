#pragma once

#include "Tools/Tarsel/Arguments/BatchArguments.h"
#include "Tools/Tarsel/Arguments/RunArguments.h"
#include "Tools/Tarsel/Batch/BatchReport.h"
#include "Tools/Tarsel/Batch/OutputFolder.h"
#include "Tools/Tarsel/Work/Context.h"

#include <atomic>
#include <cstddef>
#include <exception>
#include <optional>
#include <stop_token>
#include <vector>

namespace Tarsel::Tools {

/// Several files, each through a run of its own, side by side as far as the thread budget goes.
class BatchWork {
public:
    /// All have to live longer. What is wrong with the arguments, of whatever file, throws here, before
    /// anything is written: UsageException, Media::InputException, Media::OptionsException; what RunWork
    /// throws.
    BatchWork(RunArguments const& run, BatchArguments const& batch, Context const& context);
    BatchWork(BatchWork const&) = delete;
    BatchWork& operator=(BatchWork const&) = delete;

    /// Once. Throws as BatchReport::End; Media::OutputException where the report cannot be written, or the
    /// folder not be made.
    void Run();

private:
    RunArguments MakeArguments(BatchFile const& file) const;
    void CheckArguments() const;
    void CheckKinds() const;
    void CheckLog() const;
    void CheckExisting() const;
    void WorkOff(std::vector<std::size_t> const& which, std::size_t atOnce, BatchReport& report);
    void WorkOn(std::size_t index) noexcept;
    void Fail(FileResult& result, std::exception const& failure);
    double GetDone() const;

    RunArguments const& m_run;
    BatchArguments const& m_batch;
    Context const& m_context;
    std::optional<OutputFolder> m_folder;
    std::vector<FileResult> m_results;
    /// For each file: its share of the work, the sum being 1, and how much of that is done, 0 to 1.
    std::vector<double> m_shares;
    std::vector<std::atomic<double>> m_done;
    std::atomic<bool> m_hasFailed = false;
    /// No other file is worked on meanwhile, so threads of FFmpeg's own speak of it.
    bool m_isAlone = false;
    std::stop_source m_stop;
};

} // namespace Tarsel::Tools
