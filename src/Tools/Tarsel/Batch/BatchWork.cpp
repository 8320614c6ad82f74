#include "Tools/Tarsel/Batch/BatchWork.h"

#include "Core/CoreExceptions.h"
#include "Core/Files.h"
#include "Core/StartThread.h"
#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Host/FFmpegMessages.h"
#include "Media/MediaExceptions.h"
#include "Media/Run.h"
#include "Tools/Tarsel/Arguments/Options.h"
#include "Tools/Tarsel/Console/FailureText.h"
#include "Tools/Tarsel/Console/RunReport.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Work/MediaWork.h"
#include "Tools/Tarsel/Work/RunWork.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <numeric>
#include <system_error>
#include <thread>
#include <utility>

namespace Tarsel::Tools {
namespace {

namespace fs = std::filesystem;

/// Media::FindOutputKind for names that might not tell: their runs will say so.
Media::OutputKind FindKind(fs::path const& output) {
    try {
        return Media::FindOutputKind(output);
    } catch (Media::OptionsException const&) {
        return Media::OutputKind::Image;
    }
}

void Append(std::vector<std::string> const& notes, std::vector<std::string>& all) {
    all.insert(all.end(), notes.begin(), notes.end());
}

/// So many, or as many as the system gives.
void StartThreads(std::size_t count, std::function<void()> const& work, std::vector<std::jthread>& threads) {
    threads.reserve(count);
    try {
        while (threads.size() < count)
            threads.push_back(Core::StartThread(work));
    } catch (Core::MemoryException const&) {
        if (threads.empty())
            throw;
    }
}

/// Longer files take longer; reading none of them tells more.
std::vector<double> FindShares(std::vector<FileResult> const& results) {
    std::vector<double> shares;
    for (FileResult const& result : results) {
        std::error_code error;
        auto const size = fs::file_size(result.file.input, error);
        shares.push_back(error || result.fate == FileFate::Skipped ? 0.0 : static_cast<double>(size) + 1);
    }
    double const all = std::accumulate(shares.begin(), shares.end(), 0.0);
    for (double& share : shares)
        share = all > 0 ? share / all : 0;
    return shares;
}

} // namespace

BatchWork::BatchWork(RunArguments const& run, BatchArguments const& batch, Context const& context)
    : m_run(run), m_batch(batch), m_context(context) {
    for (BatchFile& file : NameOutputs(FindInputs(batch.inputs), batch.folder, batch.format))
        m_results.push_back({std::move(file)});
    m_folder.emplace(batch.folder); // without it no name can be checked
    CheckArguments();
    CheckKinds();
    CheckLog();
    CheckExisting();
    m_done = std::vector<std::atomic<double>>(m_results.size());
}

RunArguments BatchWork::MakeArguments(BatchFile const& file) const {
    RunArguments arguments = m_run;
    arguments.media.input = file.input;
    arguments.media.output = file.output;
    return arguments;
}

void BatchWork::CheckArguments() const {
    RunWork const first(MakeArguments(m_results.front().file), m_context);
    if (first.WritesMotion())
        Core::Throw<UsageException>(
            "Run files one at a time: stabilizer with detect=1 would write the motion of all to one file");
}

/// What no file could be written with is wrong with the arguments.
void BatchWork::CheckKinds() const {
    std::map<fs::path, FileResult const*> kinds;
    for (FileResult const& result : m_results)
        kinds.emplace(result.file.output.extension(), &result);
    std::exception_ptr refusal;
    for (auto const& [extension, result] : kinds)
        try {
            Media::RunOptions const options = MakeArguments(result->file).media.MakeRunOptions();
            (void)Media::FindVideoFormats(options);
            return;
        } catch (Media::OptionsException const&) {
            if (refusal == nullptr)
                refusal = std::current_exception();
        }
    std::rethrow_exception(refusal);
}

void BatchWork::CheckLog() const {
    std::string const& log = m_run.media.log;
    if (log.empty())
        return;
    for (FileResult const& result : m_results)
        if (NameSameFile(log, result.file.output))
            Core::Throw<UsageException>(
                fmt::format("--log: choose another file: \"{}\" belongs to the run", log));
}

void BatchWork::CheckExisting() const {
    if (m_run.media.overwrite || m_batch.skipsExisting)
        return;
    auto const exists = [](FileResult const& result) { return Core::FileExists(result.file.output); };
    auto const first = std::ranges::find_if(m_results, exists);
    if (first == m_results.end())
        return;
    auto const others = std::count_if(std::next(first), m_results.end(), exists);
    Core::Throw<UsageException>(
        fmt::format("Add --overwrite or --skip-existing: \"{}\"{} already", first->file.output.string(),
                    others > 0 ? fmt::format(" and {} more exist", others) : " exists"));
}

void BatchWork::Run() {
    std::stop_callback const forward(m_context.stop, [this] { m_stop.request_stop(); });
    MediaArguments const& media = m_run.media;
    if (!media.log.empty())
        m_context.report.GetLog().Open(media.log);
    m_context.report.BeginFiles(media.GetProgressForm(), media.quiet, m_results.size(), m_batch.folder);
    BatchReport report(m_context, m_batch.folder, m_results.size());

    // Images and audio files keep one thread busy each: as many at a time as there are threads. A film keeps
    // all of them busy, and encoders give other bits with other numbers of threads.
    std::vector<std::size_t> small;
    std::vector<std::size_t> films;
    for (std::size_t i = 0; i < m_results.size(); ++i) {
        FileResult& result = m_results[i];
        if (m_batch.skipsExisting && Core::FileExists(result.file.output)) {
            result.fate = FileFate::Skipped;
            report.Add(result);
            continue;
        }
        bool const isFilm = FindKind(result.file.output) == Media::OutputKind::Video;
        (isFilm ? films : small).push_back(i);
    }
    m_shares = FindShares(m_results);
    auto const threads = static_cast<std::size_t>(media.threads.value_or(Core::ThreadBudget::Get()));
    WorkOff(small, std::min(threads, small.size()), report);
    WorkOff(films, std::min<std::size_t>(films.size(), 1), report);
    report.End(m_results, media.quiet, media.GetProgressForm());
}

/// With `atOnce` threads, and the rest of the budget for what their runs hand on.
void BatchWork::WorkOff(std::vector<std::size_t> const& which, std::size_t atOnce, BatchReport& report) {
    if (which.empty())
        return;
    int const budget = m_run.media.threads.value_or(Core::ThreadBudget::Get());
    Core::ThreadBudget::Set(budget - static_cast<int>(atOnce) + 1);
    m_isAlone = atOnce == 1;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::size_t> finished;
    finished.reserve(which.size());
    std::size_t next = 0;
    std::size_t ended = 0;
    auto const work = [&] {
        std::unique_lock lock(mutex);
        while (next < which.size() && !m_stop.stop_requested() && !(m_hasFailed && m_batch.stopsOnError)) {
            std::size_t const index = which[next++];
            lock.unlock();
            WorkOn(index);
            lock.lock();
            finished.push_back(index);
        }
        ++ended;
        changed.notify_all();
    };
    std::vector<std::jthread> threads;
    try {
        StartThreads(atOnce, work, threads);
        constexpr std::chrono::milliseconds tick(100);
        bool isOver = false;
        while (!isOver) {
            std::unique_lock lock(mutex);
            isOver = changed.wait_for(lock, tick, [&] { return ended == threads.size(); });
            std::vector<std::size_t> news;
            news.swap(finished);
            finished.reserve(which.size());
            lock.unlock();
            for (std::size_t const index : news)
                if (m_results[index].fate != FileFate::Waiting) {
                    report.Add(m_results[index]);
                    m_results[index].result = {}; // it is told
                }
            report.Show(GetDone());
        }
    } catch (...) {
        m_stop.request_stop();
        threads.clear();
        throw;
    }
    threads.clear();
    Core::ThreadBudget::Set(budget);
}

double BatchWork::GetDone() const {
    constexpr double most = 0.99; // the last is not complete
    double done = 0;
    for (std::size_t i = 0; i < m_done.size(); ++i)
        done += m_shares[i] * m_done[i];
    return std::min(done, most);
}

void BatchWork::WorkOn(std::size_t index) noexcept {
    FileResult& result = m_results[index];
    std::atomic<double>& done = m_done[index];
    try {
        Host::FFmpegMessages const messages; // of this file alone
        HeardErrors::OfInput const errors;
        try {
            RunArguments const arguments = MakeArguments(result.file);
            RunWork work(arguments, m_context);
            work.ReportTo([&](Media::RunProgress const& progress, int pass, int passes) {
                if (progress.done >= 0)
                    done = std::max<double>(done, (pass + std::min(progress.done, 1.0)) / passes);
            });
            result.result = Media::Run(work.GetOptions(), m_stop.get_token());
            result.fate = FileFate::Written;
            result.notes = result.result.notes;
            Append(work.GetNotes(), result.notes);
            Append(errors.GetNotes(), result.notes);
            if (m_isAlone)
                Append(m_context.report.GetErrors().TakeNotes(), result.notes);
        } catch (Media::InterruptedException const&) {
            return; // it waits
        } catch (std::exception const& failure) {
            Fail(result, failure);
        }
    } catch (std::exception const&) {
        result.fate = FileFate::Failed; // without memory for the words
        result.exitCode = ExitCode::EffectFailed;
        m_hasFailed = true;
    }
    done = 1;
}

void BatchWork::Fail(FileResult& result, std::exception const& failure) {
    result.message = DescribeFailure(failure, m_context.options.verbose);
    result.exitCode = GetExitCode(failure);
    result.fate = FileFate::Failed;
    m_hasFailed = true;
}

} // namespace Tarsel::Tools
