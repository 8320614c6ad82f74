#pragma once

#include "Media/Run.h"
#include "Tools/Tarsel/Batch/BatchFiles.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/RunReport.h"
#include "Tools/Tarsel/Work/Context.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// What became of one of several files. One that is waiting was not begun, or interrupted.
enum class FileFate : std::uint8_t { Waiting, Written, Skipped, Failed };

struct FileResult {
    BatchFile file;
    FileFate fate = FileFate::Waiting;
    /// Of a file that is written.
    Media::RunResult result{};
    std::vector<std::string> notes{};
    /// Of one that failed.
    ExitCode exitCode = ExitCode::Done;
    std::string message{};
};

/// What a run of several files tells: a line of progress for all of them, for programs a line for each, and
/// at the end how many there are of each fate. One thread at a time.
class BatchReport {
public:
    /// The context, whose report has begun, has to live longer.
    BatchReport(Context const& context, std::string folder, std::size_t files);

    /// Another file has its fate.
    void Add(FileResult const& result);
    /// `done` is the share of all work, from 0 to 1; never less than before.
    void Show(double done);
    /// Nothing more comes. Where files failed, or were left out because of that, the failure of the whole;
    /// InterruptedException where files were left out otherwise.
    void End(std::span<FileResult const> results, bool quiet, ProgressForm form);

private:
    std::size_t Count(FileFate fate) const { return m_counts[static_cast<std::size_t>(fate)]; }
    std::string DescribeCounts() const;
    double GetSeconds() const;

    using Clock = std::chrono::steady_clock;

    Context const& m_context;
    std::string m_folder;
    std::size_t m_files;
    std::size_t m_counts[4]{};
    Clock::time_point m_begin = Clock::now();
    std::int64_t m_frames = 0;
    std::int64_t m_bytes = 0;
};

} // namespace Tarsel::Tools
