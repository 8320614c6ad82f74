#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace Tarsel::Tools {

class PrivateFolder;

/// Does what the program does with these arguments, the verb first, until it is done or stopped; `onLine`
/// hears each line of progress.schema.json. Throws nothing but std::bad_alloc.
using RunFilm = std::function<void(std::vector<std::string> const& arguments, std::stop_token const& stop,
                                   std::function<void(std::string const&)> const& onLine)>;

/// A film that is written on a thread of its own. Any thread.
class FilmJob {
public:
    explicit FilmJob(RunFilm run);
    FilmJob(FilmJob const&) = delete;
    FilmJob& operator=(FilmJob const&) = delete;
    ~FilmJob();

    /// Writes `chain` (chain.schema.json) for the run and begins it: "--chain" with its file goes behind the
    /// arguments. UsageException while another one is under way.
    void Start(std::vector<std::string> arguments, std::string const& chain);
    /// The last line that was heard; {"type":"none"} before the first.
    std::string GetLastLine() const;
    /// Interrupts it and waits for its end.
    void Stop();

private:
    RunFilm m_run;
    /// Of Start and Stop.
    std::mutex m_mutex;
    mutable std::mutex m_lineMutex;
    std::string m_line = R"({"type":"none"})";
    bool m_isRunning = false;
    std::unique_ptr<PrivateFolder> m_folder;
    std::stop_source m_stop;
    std::jthread m_thread;
};

} // namespace Tarsel::Tools
