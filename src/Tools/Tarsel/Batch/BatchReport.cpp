#include "Tools/Tarsel/Batch/BatchReport.h"

#include "Core/Exception.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ProgressLine.h"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Some of several files could not be written, or none.
class BatchException : public Exception {};

char const* GetFateText(FileFate fate) noexcept {
    switch (fate) {
    case FileFate::Written:
        return "written";
    case FileFate::Skipped:
        return "skipped";
    case FileFate::Failed:
        return "failed";
    case FileFate::Waiting:
        break;
    }
    return "not begun";
}

Json DescribeFileForPrograms(FileResult const& result) {
    Json line{{"type", "file"},
              {"input", result.file.input.string()},
              {"output", result.file.output.string()},
              {"state", GetFateText(result.fate)}};
    if (result.fate == FileFate::Written) {
        line.update(ToJson(result.result));
        line["notes"] = result.notes;
    } else if (result.fate == FileFate::Failed) {
        line["exit_code"] = static_cast<int>(result.exitCode);
        line["message"] = result.message;
    }
    return line;
}

/// The same is mostly to be said of many files: once each, with the first file's name.
std::vector<std::string> GatherNotes(std::span<FileResult const> results) {
    struct Gathered {
        std::string first;
        std::size_t count = 0;
    };
    std::map<std::string, Gathered> known;
    std::vector<std::string> order;
    for (FileResult const& result : results)
        for (std::string const& note : result.notes) {
            Gathered& gathered = known[note];
            if (++gathered.count > 1)
                continue;
            gathered.first = result.file.output.string();
            order.push_back(note);
        }
    for (std::string& note : order) {
        auto const& [first, count] = known[note];
        std::string const others =
            count > 1 ? fmt::format(" and {} other{}", count - 1, count > 2 ? "s" : "") : "";
        note = fmt::format("\"{}\"{}: {}", first, others, MakeSentence(note));
    }
    return order;
}

/// A line for each file that failed.
std::string ListFailures(std::span<FileResult const> results) {
    std::string list;
    for (FileResult const& result : results)
        if (result.fate == FileFate::Failed)
            list += fmt::format("\n  \"{}\": {}", result.file.input.string(),
                                boost::algorithm::replace_all_copy(result.message, "\n", "\n  "));
    return list;
}

} // namespace

BatchReport::BatchReport(Context const& context, std::string folder, std::size_t files)
    : m_context(context), m_folder(std::move(folder)), m_files(files) {}

double BatchReport::GetSeconds() const {
    return std::chrono::duration<double>(Clock::now() - m_begin).count();
}

void BatchReport::Add(FileResult const& result) {
    ++m_counts[static_cast<std::size_t>(result.fate)];
    m_frames += result.result.framesOut;
    m_bytes += result.result.bytes;
    m_context.report.GetLog().Write(
        "tarsel", fmt::format("\"{}\": {}", result.file.input.string(),
                              result.fate == FileFate::Failed ? result.message : GetFateText(result.fate)));
    m_context.report.Tell(DescribeFileForPrograms(result));
}

void BatchReport::Show(double done) {
    double const seconds = GetSeconds();
    FilesProgress progress{{}, m_files, 0};
    for (FileFate const fate : {FileFate::Written, FileFate::Skipped, FileFate::Failed})
        progress.filesDone += Count(fate);
    progress.all.done = done;
    progress.all.frames = m_frames;
    progress.all.framesPerSecond = seconds > 0 ? static_cast<double>(m_frames) / seconds : 0;
    if (done > 0)
        progress.all.secondsLeft = seconds * (1 - done) / done;
    m_context.report.Show(progress);
}

/// "18 written, 2 skipped".
std::string BatchReport::DescribeCounts() const {
    std::vector<std::string> counts;
    for (FileFate const fate : {FileFate::Written, FileFate::Skipped, FileFate::Waiting})
        if (Count(fate) > 0)
            counts.push_back(fmt::format("{} {}", Count(fate), GetFateText(fate)));
    return fmt::format("{}", fmt::join(counts, ", "));
}

void BatchReport::End(std::span<FileResult const> results, bool quiet, ProgressForm form) {
    m_counts[static_cast<std::size_t>(FileFate::Waiting)] =
        static_cast<std::size_t>(std::ranges::count(results, FileFate::Waiting, &FileResult::fate));
    Json line{{"type", "summary"},
              {"output", m_folder},
              {"files", m_files},
              {"written", Count(FileFate::Written)},
              {"skipped", Count(FileFate::Skipped)},
              {"failed", Count(FileFate::Failed)},
              {"bytes", m_bytes},
              {"seconds", GetSeconds()}};
    std::vector<std::string> const notes =
        form == ProgressForm::Json ? std::vector<std::string>() : GatherNotes(results);
    bool const isComplete = Count(FileFate::Failed) + Count(FileFate::Waiting) == 0;
    if (isComplete) {
        m_context.report.AddNotes(notes);
        m_context.report.SetResult(line, fmt::format("{}: {} files, {}; {} in {:.1f} s", m_folder, m_files,
                                                     DescribeCounts(), FormatSize(m_bytes), GetSeconds()));
        return;
    }
    line["notes"] = notes;
    m_context.console.SetStatus({});
    if (!quiet)
        m_context.console.PrintNotes(notes);
    m_context.report.Tell(line);
    auto const first = std::ranges::find(results, FileFate::Failed, &FileResult::fate);
    std::string const counts = DescribeCounts();
    std::string const rest = counts.empty() ? "" : "; " + counts;
    std::string const failed =
        first == results.end() ? "" : fmt::format("{} of {} files failed", Count(FileFate::Failed), m_files);
    if (m_context.stop.stop_requested() && Count(FileFate::Waiting) > 0)
        Core::Throw<Media::InterruptedException>(
            fmt::format("Interrupted: {} of {} files are in \"{}\"; --skip-existing goes on from there{}",
                        Count(FileFate::Written) + Count(FileFate::Skipped), m_files, m_folder,
                        failed.empty() ? "" : fmt::format("\n{}:{}", failed, ListFailures(results))));
    bool const someStand = Count(FileFate::Written) + Count(FileFate::Skipped) > 0;
    Core::Throw<BatchException>(
        fmt::format("{}{} in {:.1f} s:{}", failed, rest, GetSeconds(), ListFailures(results)),
        TagExitCode(someStand ? ExitCode::SomeFailed : first->exitCode));
}

} // namespace Tarsel::Tools
